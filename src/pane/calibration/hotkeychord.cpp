#include "hotkeychord.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QKeyEvent>

namespace tavix {

namespace {

// XKB key codes of the number row: "1" is 10, ..., "9" is 18, "0" is 19.
constexpr quint32 kXkbDigitOne = 10;
constexpr quint32 kXkbDigitZero = 19;

// Shift+digit on a US keyboard and on a German one; the first row where they agree.
struct ShiftedDigit {
    int key;
    char us, de;  // 0: the symbol is not on that layout's number row
};
constexpr ShiftedDigit kShiftedDigits[] = {
    {Qt::Key_Exclam, '1', '1'},     {Qt::Key_At, '2', 0},          {Qt::Key_QuoteDbl, 0, '2'},
    {Qt::Key_NumberSign, '3', 0},   {Qt::Key_section, 0, '3'},     {Qt::Key_Dollar, '4', '4'},
    {Qt::Key_Percent, '5', '5'},    {Qt::Key_AsciiCircum, '6', 0}, {Qt::Key_Ampersand, '7', '6'},
    {Qt::Key_Slash, 0, '7'},        {Qt::Key_Asterisk, '8', 0},    {Qt::Key_ParenLeft, '9', '8'},
    {Qt::Key_ParenRight, '0', '9'}, {Qt::Key_Equal, 0, '0'},
};

}  // namespace

ScanCodes platformScanCodes() {
    const QString name = QGuiApplication::platformName();
    return name == QLatin1String("xcb") || name.startsWith(QLatin1String("wayland"))
               ? ScanCodes::Xkb
               : ScanCodes::Unknown;
}

QString chordCharacter(int key, quint32 scanCode, ScanCodes codes, const QLocale &keyboard) {
    if (codes == ScanCodes::Xkb && scanCode >= kXkbDigitOne && scanCode <= kXkbDigitZero) {
        return QString(QChar(scanCode == kXkbDigitZero ? '0' : char('1' + scanCode - 10)));
    }
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z)) {
        return QString(QChar(key));
    }
    const bool german = keyboard.language() == QLocale::German;
    for (const ShiftedDigit &d : kShiftedDigits) {
        if (d.key == key) {
            const char digit = german ? (d.de ? d.de : d.us) : (d.us ? d.us : d.de);
            return QString(QChar(digit));
        }
    }
    return {};
}

QString chordCharacter(const QKeyEvent *event) {
    const QInputMethod *input = QGuiApplication::inputMethod();
    return chordCharacter(event->key(), event->nativeScanCode(), platformScanCodes(),
                          input ? input->locale() : QLocale());
}

}  // namespace tavix
