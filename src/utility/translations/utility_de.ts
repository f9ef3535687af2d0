<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="Utility.NoPanel">
        <source>No touch panel connected</source>
        <translation>Kein Touch-Panel angeschlossen</translation>
    </message>
    <message id="Utility.DriverDisabled">
        <source>The touch panel driver is disabled</source>
        <translation>Der Touch-Panel-Treiber ist deaktiviert</translation>
    </message>
    <message id="Utility.Connected">
        <source>Touch panel connected: %1</source>
        <translation>Touch-Panel angeschlossen: %1</translation>
    </message>
    <message id="Utility.Page.Calibration">
        <source>Calibration</source>
        <translation>Kalibrierung</translation>
    </message>
    <message id="Utility.Page.Properties">
        <source>Properties</source>
        <translation>Eigenschaften</translation>
    </message>
    <message id="Utility.Page.HardwareInfo">
        <source>Hardware information</source>
        <translation>Hardware-Informationen</translation>
    </message>
    <message id="Utility.Page.Version">
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message id="Utility.SimpleCalibration">
        <source>Simple calibration</source>
        <translation>Einfache Kalibrierung</translation>
    </message>
    <message id="Utility.ManualCalibration">
        <source>Manual calibration</source>
        <translation>Manuelle Kalibrierung</translation>
    </message>
    <message id="Utility.SimpleSetting">
        <source>Simple calibration setting</source>
        <translation>Einstellung der einfachen Kalibrierung</translation>
    </message>
    <message id="Utility.SimpleSetting.Row">
        <source>Setting %1</source>
        <translation>Einstellung %1</translation>
    </message>
    <message id="Utility.StartCalibration">
        <source>Start the manual calibration</source>
        <translation>Manuelle Kalibrierung starten</translation>
    </message>
    <message id="Utility.Quit">
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
</context>
</TS>
