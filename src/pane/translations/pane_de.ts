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
    <!-- Calibration page -->
    <message id="Calibration.type.title">
        <source>Calibration type</source>
        <translation>Kalibrierungsart</translation>
    </message>
    <message id="Calibration.simple">
        <source>Simple calibration</source>
        <translation>Einfache Kalibrierung</translation>
    </message>
    <message id="Calibration.manual">
        <source>Manual calibration</source>
        <translation>Manuelle Kalibrierung</translation>
    </message>
    <message id="Calibration.simpleSetting.1">
        <source>Simple setting 1</source>
        <translation>Einfache Einstellung 1</translation>
    </message>
    <message id="Calibration.simpleSetting.2">
        <source>Simple setting 2</source>
        <translation>Einfache Einstellung 2</translation>
    </message>
    <message id="Calibration.simpleSetting.3">
        <source>Simple setting 3</source>
        <translation>Einfache Einstellung 3</translation>
    </message>
    <message id="Calibration.manual.first">
        <source>Manual calibration</source>
        <translation>Manuelle Kalibrierung</translation>
    </message>
    <message id="Calibration.manual.second">
        <source>Second manual calibration</source>
        <translation>Zweite manuelle Kalibrierung</translation>
    </message>
    <message id="Calibration.start">
        <source>Start calibration</source>
        <translation>Kalibrierung starten</translation>
    </message>
    <message id="Calibration.display.title">
        <source>Display</source>
        <translation>Bildschirm</translation>
    </message>
    <message id="Calibration.resolution">
        <source>Resolution:</source>
        <translation>Auflösung:</translation>
    </message>
    <message id="Calibration.display.matched">
        <source>Display of the touch panel: %1</source>
        <translation>Bildschirm des Touch-Panels: %1</translation>
    </message>
    <message id="Calibration.display.fallback">
        <source>No display matches the touch panel; showing %1</source>
        <translation>Kein Bildschirm passt zum Touch-Panel; angezeigt wird %1</translation>
    </message>
    <message id="Calibration.display.unnamed">
        <source>an unnamed display</source>
        <translation>ein Bildschirm ohne Namen</translation>
    </message>
    <message id="Calibration.display.none">
        <source>No display found</source>
        <translation>Kein Bildschirm gefunden</translation>
    </message>
    <message id="Calibration.hotKeys">
        <source>Hot keys</source>
        <translation>Tastenkürzel</translation>
    </message>
    <message id="Calibration.hotKey.calibration">
        <source>Manual calibration:</source>
        <translation>Manuelle Kalibrierung:</translation>
    </message>
    <message id="Calibration.hotKey.simple">
        <source>Next simple setting:</source>
        <translation>Nächste einfache Einstellung:</translation>
    </message>
    <message id="HotKeyString">
        <source>Control + Shift + </source>
        <translation>Strg + Umschalt + </translation>
    </message>
    <message id="HotKey.calibration.title">
        <source>Manual calibration hot key</source>
        <translation>Tastenkürzel für die manuelle Kalibrierung</translation>
    </message>
    <message id="HotKey.simple.title">
        <source>Simple setting hot key</source>
        <translation>Tastenkürzel für die einfache Einstellung</translation>
    </message>
    <message id="HotKey.prompt">
        <source>Key pressed with Control and Shift:</source>
        <translation>Taste zusammen mit Strg und Umschalt:</translation>
    </message>
    <message id="HotKey.set">
        <source>Set</source>
        <translation>Festlegen</translation>
    </message>
    <message id="HotKey.cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="Alert.HotKey.Title">
        <source>Touch panel</source>
        <translation>Touch-Panel</translation>
    </message>
    <message id="Alert.HotKeyFailure">
        <source>This key is already the other hot key. Choose another key.</source>
        <translation>Diese Taste ist schon das andere Tastenkürzel. Bitte eine andere Taste wählen.</translation>
    </message>
    <message id="Alert.CalibrationHotKeyChanged">
        <source>The manual calibration hot key is now Control + Shift + </source>
        <translation>Das Tastenkürzel für die manuelle Kalibrierung ist jetzt Strg + Umschalt + </translation>
    </message>
    <message id="Alert.SimpleHotKeyChanged">
        <source>The simple setting hot key is now Control + Shift + </source>
        <translation>Das Tastenkürzel für die einfache Einstellung ist jetzt Strg + Umschalt + </translation>
    </message>
    <message id="Alert.Button.OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
</TS>
