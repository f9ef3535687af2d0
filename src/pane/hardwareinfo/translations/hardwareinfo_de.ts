<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="Hardware.tab.information">
        <source>Information</source>
        <translation>Informationen</translation>
    </message>
    <message id="Hardware.tab.rotation">
        <source>Rotation and pointer</source>
        <translation>Drehung und Zeiger</translation>
    </message>
    <message id="Hardware.tab.selfTest">
        <source>Self-test</source>
        <translation>Selbsttest</translation>
    </message>
    <message id="Hardware.identity">
        <source>Panel and computer</source>
        <translation>Panel und Computer</translation>
    </message>
    <message id="Hardware.modelName">
        <source>Model:</source>
        <translation>Modell:</translation>
    </message>
    <message id="Hardware.driverVersion">
        <source>Driver version:</source>
        <translation>Treiberversion:</translation>
    </message>
    <message id="Hardware.computerName">
        <source>Computer name:</source>
        <translation>Computername:</translation>
    </message>
    <message id="Hardware.address">
        <source>IP address:</source>
        <translation>IP-Adresse:</translation>
    </message>
    <message id="Hardware.dipSwitches">
        <source>DIP switches</source>
        <translation>DIP-Schalter</translation>
    </message>
    <message id="Hardware.functionButtons">
        <source>Function buttons</source>
        <translation>Funktionstasten</translation>
    </message>
    <message id="Hardware.button1">
        <source>Function button 1:</source>
        <translation>Funktionstaste 1:</translation>
    </message>
    <message id="Hardware.button2">
        <source>Function button 2:</source>
        <translation>Funktionstaste 2:</translation>
    </message>
    <message id="Hardware.button2.pen">
        <source>Button 2 also works on the pen.</source>
        <translation>Taste 2 wirkt auch am Stift.</translation>
    </message>
    <message id="Hardware.buttonL">
        <source>L button:</source>
        <translation>L-Taste:</translation>
    </message>
    <message id="Hardware.inputModeBox">
        <source>Input</source>
        <translation>Eingabe</translation>
    </message>
    <message id="Hardware.inputMode">
        <source>Input mode:</source>
        <translation>Eingabemodus:</translation>
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
        <translation>Prüfsumme:</translation>
    </message>
    <message id="Hardware.FounctionButton1">
        <source>Right click</source>
        <translation>Rechtsklick</translation>
    </message>
    <message id="Hardware.FounctionButton2">
        <source>Eraser</source>
        <translation>Radierer</translation>
    </message>
    <message id="Hardware.Disable">
        <source>Disabled</source>
        <translation>Aus</translation>
    </message>
    <message id="Hardware.InputMode.Standard">
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message id="Hardware.InputMode.HandWrite">
        <source>Handwriting</source>
        <translation>Handschrift</translation>
    </message>
    <message id="Hardware.InputMode.Pen">
        <source>Pen</source>
        <translation>Stift</translation>
    </message>
    <message id="Hardware.rotation">
        <source>Rotation</source>
        <translation>Drehung</translation>
    </message>
    <message id="Hardware.rotate">
        <source>%1°</source>
        <translation>%1°</translation>
    </message>
    <message id="Hardware.angle">
        <source>Angle in degrees:</source>
        <translation>Winkel in Grad:</translation>
    </message>
    <message id="Hardware.pointer">
        <source>Pointer and buttons</source>
        <translation>Zeiger und Tasten</translation>
    </message>
    <message id="Hardware.position">
        <source>Position:</source>
        <translation>Position:</translation>
    </message>
    <message id="Hardware.saveReport">
        <source>Save report…</source>
        <translation>Bericht sichern …</translation>
    </message>
    <message id="Hardware.saveReport.title">
        <source>Save report</source>
        <translation>Bericht sichern</translation>
    </message>
    <message id="Hardware.saveReport.filter">
        <source>Report (*.json *.html)</source>
        <translation>Bericht (*.json *.html)</translation>
    </message>
    <message id="Hardware.saveReport.failed">
        <source>The report could not be written to %1.</source>
        <translation>Der Bericht konnte nicht nach %1 geschrieben werden.</translation>
    </message>
    <message id="Hardware.buttonReleased">
        <source>released</source>
        <translation>losgelassen</translation>
    </message>
    <message id="Function.Flag">
        <source>●</source>
        <translation>●</translation>
    </message>
    <message id="Alert.Rotate">
        <source>Rotate the touch panel? The touch input turns with the chosen angle.</source>
        <translation>Touch-Panel drehen? Die Berührungseingabe dreht sich um den gewählten Winkel.</translation>
    </message>
    <message id="Alert.Button.YES">
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message id="Alert.Button.NO">
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message id="selfTest.OK">
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message id="selfTest.NG">
        <source>NG</source>
        <translation>Fehler</translation>
    </message>
    <message id="selfTest.ALL">
        <source>All failed</source>
        <translation>Alle defekt</translation>
    </message>
    <message id="selfTest.Check">
        <source>Check</source>
        <translation>Prüfen</translation>
    </message>
    <message id="selfTest.E01">
        <source>E01</source>
        <translation>E01</translation>
    </message>
    <message id="selfTest.start">
        <source>Start self-test</source>
        <translation>Selbsttest starten</translation>
    </message>
    <message id="selfTest.stop">
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message id="selfTest.column.area">
        <source>Area</source>
        <translation>Bereich</translation>
    </message>
    <message id="selfTest.column.point">
        <source>Point</source>
        <translation>Punkt</translation>
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
        <translation>LEDs je Bereich</translation>
    </message>
    <message id="selfTest.table.sensor">
        <source>Sensors per area</source>
        <translation>Sensoren je Bereich</translation>
    </message>
    <message id="selfTest.table.errors">
        <source>Failed points</source>
        <translation>Defekte Punkte</translation>
    </message>
    <message id="selfTest.picture">
        <source>Self-test picture of the frame</source>
        <translation>Selbsttest-Bild des Rahmens</translation>
    </message>
    <message id="selfTest.picture.none">
        <source>No self-test result yet.</source>
        <translation>Noch kein Selbsttest-Ergebnis.</translation>
    </message>
    <message id="selfTest.picture.untested">
        <source>%1: not tested</source>
        <translation>%1: nicht geprüft</translation>
    </message>
    <message id="selfTest.picture.area">
        <source>%1: LEDs %2, sensors %3</source>
        <translation>%1: LEDs %2, Sensoren %3</translation>
    </message>
    <message id="selfTest.picture.failed">
        <source>(failed points %1)</source>
        <translation>(defekte Punkte %1)</translation>
    </message>
    <message id="selfTest.picture.failedMore">
        <source>(failed points %1 and %2 more)</source>
        <translation>(defekte Punkte %1 und %2 weitere)</translation>
    </message>
    <message id="selfTest.picture.legend.untested">
        <source>Not tested</source>
        <translation>Nicht geprüft</translation>
    </message>
    <message id="selfTest.picture.legend.halves">
        <source>Outer strip: LEDs · inner strip: sensors · bar: failed point</source>
        <translation>Außen: LEDs · innen: Sensoren · Strich: defekter Punkt</translation>
    </message>
</context>
</TS>
