<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="Hardware.tab.information">
        <source>Information</source>
        <translation>Information</translation>
    </message>
    <message id="Hardware.tab.rotation">
        <source>Rotation and pointer</source>
        <translation>Rotation and pointer</translation>
    </message>
    <message id="Hardware.tab.selfTest">
        <source>Self-test</source>
        <translation>Self-test</translation>
    </message>
    <message id="Hardware.identity">
        <source>Panel and computer</source>
        <translation>Panel and computer</translation>
    </message>
    <message id="Hardware.modelName">
        <source>Model:</source>
        <translation>Model:</translation>
    </message>
    <message id="Hardware.driverVersion">
        <source>Driver version:</source>
        <translation>Driver version:</translation>
    </message>
    <message id="Hardware.computerName">
        <source>Computer name:</source>
        <translation>Computer name:</translation>
    </message>
    <message id="Hardware.address">
        <source>IP address:</source>
        <translation>IP address:</translation>
    </message>
    <message id="Hardware.dipSwitches">
        <source>DIP switches</source>
        <translation>DIP switches</translation>
    </message>
    <message id="Hardware.functionButtons">
        <source>Function buttons</source>
        <translation>Function buttons</translation>
    </message>
    <message id="Hardware.button1">
        <source>Function button 1:</source>
        <translation>Function button 1:</translation>
    </message>
    <message id="Hardware.button2">
        <source>Function button 2:</source>
        <translation>Function button 2:</translation>
    </message>
    <message id="Hardware.button2.pen">
        <source>Button 2 also works on the pen.</source>
        <translation>Button 2 also works on the pen.</translation>
    </message>
    <message id="Hardware.buttonL">
        <source>L button:</source>
        <translation>L button:</translation>
    </message>
    <message id="Hardware.inputModeBox">
        <source>Input</source>
        <translation>Input</translation>
    </message>
    <message id="Hardware.inputMode">
        <source>Input mode:</source>
        <translation>Input mode:</translation>
    </message>
    <message id="Hardware.firmware">
        <source>Firmware</source>
        <translation>Firmware</translation>
    </message>
    <message id="Hardware.version">
        <source>Version:</source>
        <translation>Version:</translation>
    </message>
    <message id="Hardware.checksum">
        <source>Checksum:</source>
        <translation>Checksum:</translation>
    </message>
    <message id="Hardware.FounctionButton1">
        <source>Right click</source>
        <translation>Right click</translation>
    </message>
    <message id="Hardware.FounctionButton2">
        <source>Eraser</source>
        <translation>Eraser</translation>
    </message>
    <message id="Hardware.Disable">
        <source>Disabled</source>
        <translation>Disabled</translation>
    </message>
    <message id="Hardware.InputMode.Standard">
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message id="Hardware.InputMode.HandWrite">
        <source>Handwriting</source>
        <translation>Handwriting</translation>
    </message>
    <message id="Hardware.InputMode.Pen">
        <source>Pen</source>
        <translation>Pen</translation>
    </message>
    <message id="Hardware.rotation">
        <source>Rotation</source>
        <translation>Rotation</translation>
    </message>
    <message id="Hardware.rotate">
        <source>%1°</source>
        <translation>%1°</translation>
    </message>
    <message id="Hardware.angle">
        <source>Angle in degrees:</source>
        <translation>Angle in degrees:</translation>
    </message>
    <message id="Hardware.pointer">
        <source>Pointer and buttons</source>
        <translation>Pointer and buttons</translation>
    </message>
    <message id="Hardware.position">
        <source>Position:</source>
        <translation>Position:</translation>
    </message>
    <message id="Hardware.saveReport">
        <source>Save report…</source>
        <translation>Save report…</translation>
    </message>
    <message id="Hardware.saveReport.title">
        <source>Save report</source>
        <translation>Save report</translation>
    </message>
    <message id="Hardware.saveReport.filter">
        <source>Report (*.json *.html)</source>
        <translation>Report (*.json *.html)</translation>
    </message>
    <message id="Hardware.saveReport.failed">
        <source>The report could not be written to %1.</source>
        <translation>The report could not be written to %1.</translation>
    </message>
    <message id="Hardware.buttonReleased">
        <source>released</source>
        <translation>released</translation>
    </message>
    <message id="Function.Flag">
        <source>●</source>
        <translation>●</translation>
    </message>
    <message id="Alert.Rotate">
        <source>Rotate the touch panel? The touch input turns with the chosen angle.</source>
        <translation>Rotate the touch panel? The touch input turns with the chosen angle.</translation>
    </message>
    <message id="Alert.Button.YES">
        <source>Yes</source>
        <translation>Yes</translation>
    </message>
    <message id="Alert.Button.NO">
        <source>No</source>
        <translation>No</translation>
    </message>
    <message id="selfTest.OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="selfTest.NG">
        <source>NG</source>
        <translation>NG</translation>
    </message>
    <message id="selfTest.ALL">
        <source>All failed</source>
        <translation>All failed</translation>
    </message>
    <message id="selfTest.Check">
        <source>Check</source>
        <translation>Check</translation>
    </message>
    <message id="selfTest.E01">
        <source>E01</source>
        <translation>E01</translation>
    </message>
    <message id="selfTest.start">
        <source>Start self-test</source>
        <translation>Start self-test</translation>
    </message>
    <message id="selfTest.stop">
        <source>Stop</source>
        <translation>Stop</translation>
    </message>
    <message id="selfTest.column.area">
        <source>Area</source>
        <translation>Area</translation>
    </message>
    <message id="selfTest.column.point">
        <source>Point</source>
        <translation>Point</translation>
    </message>
    <message id="selfTest.column.led">
        <source>LED</source>
        <translation>LED</translation>
    </message>
    <message id="selfTest.column.sensor">
        <source>Sensor</source>
        <translation>Sensor</translation>
    </message>
    <message id="selfTest.table.led">
        <source>LEDs per area</source>
        <translation>LEDs per area</translation>
    </message>
    <message id="selfTest.table.sensor">
        <source>Sensors per area</source>
        <translation>Sensors per area</translation>
    </message>
    <message id="selfTest.table.errors">
        <source>Failed points</source>
        <translation>Failed points</translation>
    </message>
    <message id="selfTest.picture">
        <source>Self-test picture of the frame</source>
        <translation>Self-test picture of the frame</translation>
    </message>
    <message id="selfTest.picture.none">
        <source>No self-test result yet.</source>
        <translation>No self-test result yet.</translation>
    </message>
    <message id="selfTest.picture.untested">
        <source>%1: not tested</source>
        <translation>%1: not tested</translation>
    </message>
    <message id="selfTest.picture.area">
        <source>%1: LEDs %2, sensors %3</source>
        <translation>%1: LEDs %2, sensors %3</translation>
    </message>
    <message id="selfTest.picture.failed">
        <source>(failed points %1)</source>
        <translation>(failed points %1)</translation>
    </message>
    <message id="selfTest.picture.failedMore">
        <source>(failed points %1 and %2 more)</source>
        <translation>(failed points %1 and %2 more)</translation>
    </message>
    <message id="selfTest.picture.legend.untested">
        <source>Not tested</source>
        <translation>Not tested</translation>
    </message>
    <message id="selfTest.picture.legend.halves">
        <source>Outer strip: LEDs · inner strip: sensors · bar: failed point</source>
        <translation>Outer strip: LEDs · inner strip: sensors · bar: failed point</translation>
    </message>
</context>
</TS>
