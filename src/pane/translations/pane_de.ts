<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="Alert.disconnect">
        <source>No touch panel is connected. Connect the panel to change its settings.</source>
        <translation>Es ist kein Touch-Panel angeschlossen. Schließen Sie das Panel an, um seine Einstellungen zu ändern.</translation>
    </message>
    <message id="Alert.driverDisable">
        <source>The touch panel driver is disabled. Enable the driver to change the panel's settings.</source>
        <translation>Der Touch-Panel-Treiber ist deaktiviert. Aktivieren Sie den Treiber, um die Einstellungen des Panels zu ändern.</translation>
    </message>
    <message id="PreferenceFolderName">
        <source>TavixTouchPanel</source>
        <translation>TavixTouchPanel</translation>
    </message>
    <message id="Page.calibration">
        <source>Calibration</source>
        <translation>Kalibrierung</translation>
    </message>
    <message id="Page.properties">
        <source>Properties</source>
        <translation>Eigenschaften</translation>
    </message>
    <message id="Page.hardwareInformation">
        <source>Hardware information</source>
        <translation>Hardware-Informationen</translation>
    </message>
    <message id="Page.version">
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message id="StatusBar.show">
        <source>Show the touch panel menu in the status bar</source>
        <translation>Touch-Panel-Menü in der Statusleiste anzeigen</translation>
    </message>
    <message id="Accessible.tabPopUp">
        <source>Page</source>
        <translation>Seite</translation>
    </message>
    <message id="Accessible.tabView">
        <source>Pages</source>
        <translation>Seiten</translation>
    </message>
    <message id="Accessible.statusBarState">
        <source>Status-bar menu</source>
        <translation>Menü in der Statusleiste</translation>
    </message>
    <message id="Accessible.alertTextField">
        <source>Alert</source>
        <translation>Hinweis</translation>
    </message>
    <message id="Version.productName">
        <source>Tavix touch panel driver</source>
        <translation>Tavix-Touch-Panel-Treiber</translation>
    </message>
    <message id="Version.driverVersion">
        <source>Driver version:</source>
        <translation>Treiberversion:</translation>
    </message>
    <message id="Accessible.versionText">
        <source>Driver version</source>
        <translation>Treiberversion</translation>
    </message>
</context>
</TS>
