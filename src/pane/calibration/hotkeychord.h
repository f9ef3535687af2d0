// Which hot key a Control+Shift key press stands for. Shift is part of every chord, so the key
// a person presses for "1" arrives as the symbol above it ("!" on a US keyboard, also "!" on a
// German one, but "/" for "7" there); the digit is what the hot key names, whatever the layout.
#pragma once

#include <QLocale>
#include <QString>

class QKeyEvent;

namespace tavix {

// How the window system numbers the keys it reports in QKeyEvent::nativeScanCode().
enum class ScanCodes {
    Unknown,  // nothing can be told from the number
    Xkb,      // X11 and Wayland: the evdev code plus 8, the same on every layout
};

// The numbering of the running application's window system.
ScanCodes platformScanCodes();

// The hot key a chord stands for: an upper-case letter or a digit, or empty when the key is
// none of them. A key on the number row is its digit, told first by its position (XKB scan codes
// 10-19 are 1-9 and 0 on every layout), then by the digit itself, then by the symbol that Shift
// puts on it on a US or German keyboard; where the two layouts disagree ("&", "(", ")") the
// keyboard's language decides.
QString chordCharacter(int key, quint32 scanCode, ScanCodes codes, const QLocale &keyboard);
QString chordCharacter(const QKeyEvent *event);

}  // namespace tavix
