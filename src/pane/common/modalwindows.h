// Ends the application-modal windows and alerts that are up, from the top down.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QWidget>

namespace tavix {

// Ends every modal window above `keep` (which stays up; nullptr: all of them). A window that
// refuses to close stops the walk rather than spin on it. True when at least one was ended.
inline bool endModalWindows(const QWidget *keep = nullptr) {
    bool ended = false;
    for (QWidget *modal = QApplication::activeModalWidget(); modal != nullptr && modal != keep;
         modal = QApplication::activeModalWidget()) {
        if (auto *dialog = qobject_cast<QDialog *>(modal)) {
            dialog->done(QDialog::Rejected);
        } else {
            modal->close();
        }
        if (modal->isVisible()) {
            break;
        }
        ended = true;
    }
    return ended;
}

}  // namespace tavix
