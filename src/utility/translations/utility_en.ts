<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="Utility.NoPanel">
        <source>No touch panel connected</source>
        <translation>No touch panel connected</translation>
    </message>
    <message id="Utility.DriverDisabled">
        <source>The touch panel driver is disabled</source>
        <translation>The touch panel driver is disabled</translation>
    </message>
    <message id="Utility.Connected">
        <source>Touch panel connected: %1</source>
        <translation>Touch panel connected: %1</translation>
    </message>
    <message id="Utility.Page.Calibration">
        <source>Calibration</source>
        <translation>Calibration</translation>
    </message>
    <message id="Utility.Page.Properties">
        <source>Properties</source>
        <translation>Properties</translation>
    </message>
    <message id="Utility.Page.HardwareInfo">
        <source>Hardware information</source>
        <translation>Hardware information</translation>
    </message>
    <message id="Utility.Page.Version">
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message id="Utility.SimpleCalibration">
        <source>Simple calibration</source>
        <translation>Simple calibration</translation>
    </message>
    <message id="Utility.ManualCalibration">
        <source>Manual calibration</source>
        <translation>Manual calibration</translation>
    </message>
    <message id="Utility.SimpleSetting">
        <source>Simple calibration setting</source>
        <translation>Simple calibration setting</translation>
    </message>
    <message id="Utility.SimpleSetting.Row">
        <source>Setting %1</source>
        <translation>Setting %1</translation>
    </message>
    <message id="Utility.StartCalibration">
        <source>Start the manual calibration</source>
        <translation>Start the manual calibration</translation>
    </message>
    <message id="Utility.Quit">
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
</context>
</TS>
