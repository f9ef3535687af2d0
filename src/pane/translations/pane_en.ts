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
    <!-- Calibration page -->
    <message id="Calibration.type.title">
        <source>Calibration type</source>
        <translation>Calibration type</translation>
    </message>
    <message id="Calibration.simple">
        <source>Simple calibration</source>
        <translation>Simple calibration</translation>
    </message>
    <message id="Calibration.manual">
        <source>Manual calibration</source>
        <translation>Manual calibration</translation>
    </message>
    <message id="Calibration.simpleSetting.1">
        <source>Simple setting 1</source>
        <translation>Simple setting 1</translation>
    </message>
    <message id="Calibration.simpleSetting.2">
        <source>Simple setting 2</source>
        <translation>Simple setting 2</translation>
    </message>
    <message id="Calibration.simpleSetting.3">
        <source>Simple setting 3</source>
        <translation>Simple setting 3</translation>
    </message>
    <message id="Calibration.manual.first">
        <source>Manual calibration</source>
        <translation>Manual calibration</translation>
    </message>
    <message id="Calibration.manual.second">
        <source>Second manual calibration</source>
        <translation>Second manual calibration</translation>
    </message>
    <message id="Calibration.start">
        <source>Start calibration</source>
        <translation>Start calibration</translation>
    </message>
    <message id="Calibration.display.title">
        <source>Display</source>
        <translation>Display</translation>
    </message>
    <message id="Calibration.resolution">
        <source>Resolution:</source>
        <translation>Resolution:</translation>
    </message>
    <message id="Calibration.display.matched">
        <source>Display of the touch panel: %1</source>
        <translation>Display of the touch panel: %1</translation>
    </message>
    <message id="Calibration.display.fallback">
        <source>No display matches the touch panel; showing %1</source>
        <translation>No display matches the touch panel; showing %1</translation>
    </message>
    <message id="Calibration.display.unnamed">
        <source>an unnamed display</source>
        <translation>an unnamed display</translation>
    </message>
    <message id="Calibration.display.none">
        <source>No display found</source>
        <translation>No display found</translation>
    </message>
    <message id="Calibration.hotKeys">
        <source>Hot keys</source>
        <translation>Hot keys</translation>
    </message>
    <message id="Calibration.hotKey.calibration">
        <source>Manual calibration:</source>
        <translation>Manual calibration:</translation>
    </message>
    <message id="Calibration.hotKey.simple">
        <source>Next simple setting:</source>
        <translation>Next simple setting:</translation>
    </message>
    <message id="HotKeyString">
        <source>Control + Shift + </source>
        <translation>Control + Shift + </translation>
    </message>
    <message id="HotKey.calibration.title">
        <source>Manual calibration hot key</source>
        <translation>Manual calibration hot key</translation>
    </message>
    <message id="HotKey.simple.title">
        <source>Simple setting hot key</source>
        <translation>Simple setting hot key</translation>
    </message>
    <message id="HotKey.prompt">
        <source>Key pressed with Control and Shift:</source>
        <translation>Key pressed with Control and Shift:</translation>
    </message>
    <message id="HotKey.set">
        <source>Set</source>
        <translation>Set</translation>
    </message>
    <message id="HotKey.cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="Alert.HotKey.Title">
        <source>Touch panel</source>
        <translation>Touch panel</translation>
    </message>
    <message id="Alert.HotKeyFailure">
        <source>This key is already the other hot key. Choose another key.</source>
        <translation>This key is already the other hot key. Choose another key.</translation>
    </message>
    <message id="Alert.CalibrationHotKeyChanged">
        <source>The manual calibration hot key is now Control + Shift + </source>
        <translation>The manual calibration hot key is now Control + Shift + </translation>
    </message>
    <message id="Alert.SimpleHotKeyChanged">
        <source>The simple setting hot key is now Control + Shift + </source>
        <translation>The simple setting hot key is now Control + Shift + </translation>
    </message>
    <message id="Alert.Button.OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
</TS>
