<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="Alert.disconnect">
        <source>No touch panel is connected. Connect the panel to change its settings.</source>
        <translation>No touch panel is connected. Connect the panel to change its settings.</translation>
    </message>
    <message id="Alert.driverDisable">
        <source>The touch panel driver is disabled. Enable the driver to change the panel's settings.</source>
        <translation>The touch panel driver is disabled. Enable the driver to change the panel's settings.</translation>
    </message>
    <message id="PreferenceFolderName">
        <source>TavixTouchPanel</source>
        <translation>TavixTouchPanel</translation>
    </message>
    <message id="Page.calibration">
        <source>Calibration</source>
        <translation>Calibration</translation>
    </message>
    <message id="Page.properties">
        <source>Properties</source>
        <translation>Properties</translation>
    </message>
    <message id="Page.hardwareInformation">
        <source>Hardware information</source>
        <translation>Hardware information</translation>
    </message>
    <message id="Page.version">
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message id="StatusBar.show">
        <source>Show the touch panel menu in the status bar</source>
        <translation>Show the touch panel menu in the status bar</translation>
    </message>
    <message id="Accessible.tabPopUp">
        <source>Page</source>
        <translation>Page</translation>
    </message>
    <message id="Accessible.tabView">
        <source>Pages</source>
        <translation>Pages</translation>
    </message>
    <message id="Accessible.statusBarState">
        <source>Status-bar menu</source>
        <translation>Status-bar menu</translation>
    </message>
    <message id="Accessible.alertTextField">
        <source>Alert</source>
        <translation>Alert</translation>
    </message>
    <message id="Version.productName">
        <source>Tavix touch panel driver</source>
        <translation>Tavix touch panel driver</translation>
    </message>
    <message id="Version.driverVersion">
        <source>Driver version:</source>
        <translation>Driver version:</translation>
    </message>
    <message id="Accessible.versionText">
        <source>Driver version</source>
        <translation>Driver version</translation>
    </message>
</context>
</TS>
