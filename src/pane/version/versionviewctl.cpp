#include "versionviewctl.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>

#include "globals.h"
#include "paths.h"
#include "settings_store.h"
#include "ui_versionview.h"

namespace tavix {

VersionViewCtl::VersionViewCtl(QWidget *page, QObject *parent)
    : QObject(parent), ui_(std::make_unique<Ui::VersionView>()) {
    ui_->setupUi(page);
    versionText_ = ui_->versionText_;
}

VersionViewCtl::~VersionViewCtl() = default;

void VersionViewCtl::updateUIState() {
    const std::string path = getSettingsFilePath(gModelType.load());
    QString text;
    if (pathExists(path)) {
        if (const auto dict = readPlistFile(path)) {
            if (const PlistValue *value = dict->find("DriverVersion");
                value != nullptr && value->isString()) {
                text = QString::fromStdString(value->toString());
            }
        }
    }
    if (versionText_) {
        versionText_->setText(text);
    }
}

void VersionViewCtl::close() {
    if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
        dialog->done(QDialog::Rejected);
    }
}

}  // namespace tavix
