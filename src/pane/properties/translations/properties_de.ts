<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name></name>
    <message id="Properties.Tab.DoubleClickRange">
        <source>Double-Click Range</source>
        <translation>Doppelklick-Bereich</translation>
    </message>
    <message id="Properties.Tab.DoubleClickSpeed">
        <source>Double-Click Speed</source>
        <translation>Doppelklick-Tempo</translation>
    </message>
    <message id="Properties.Tab.Gestures">
        <source>Gestures</source>
        <translation>Gesten</translation>
    </message>
    <message id="Properties.Tab.Buttons">
        <source>Buttons and Modes</source>
        <translation>Tasten und Modi</translation>
    </message>
    <message id="Properties.Tabs.Accessible">
        <source>Touch properties</source>
        <translation>Touch-Eigenschaften</translation>
    </message>
    <message id="Properties.Range.Explanation">
        <source>How far apart the two taps of a double click may land. The circle shows the distance.</source>
        <translation>Wie weit die beiden Berührungen eines Doppelklicks auseinanderliegen dürfen. Der Kreis zeigt den Abstand.</translation>
    </message>
    <message id="Properties.Range.Small">
        <source>Small</source>
        <translation>Klein</translation>
    </message>
    <message id="Properties.Range.Large">
        <source>Large</source>
        <translation>Groß</translation>
    </message>
    <message id="Properties.Range.Slider.Accessible">
        <source>Double-click range</source>
        <translation>Doppelklick-Bereich</translation>
    </message>
    <message id="Properties.Range.Text.Accessible">
        <source>Double-click range value</source>
        <translation>Wert des Doppelklick-Bereichs</translation>
    </message>
    <message id="Properties.Range.View.Accessible">
        <source>Double-click range circle</source>
        <translation>Kreis des Doppelklick-Bereichs</translation>
    </message>
    <message id="Properties.Range.Normal">
        <source>Normal</source>
        <translation>Standard</translation>
    </message>
    <message id="Properties.Range.Normal.Accessible">
        <source>Normal double-click range</source>
        <translation>Standard-Doppelklick-Bereich</translation>
    </message>
    <message id="Properties.Speed.Explanation">
        <source>How quickly the second tap must follow the first.</source>
        <translation>Wie schnell die zweite Berührung auf die erste folgen muss.</translation>
    </message>
    <message id="Properties.Speed.Slow">
        <source>Slow</source>
        <translation>Langsam</translation>
    </message>
    <message id="Properties.Speed.Fast">
        <source>Fast</source>
        <translation>Schnell</translation>
    </message>
    <message id="Properties.Speed.Slider.Accessible">
        <source>Double-click speed</source>
        <translation>Doppelklick-Tempo</translation>
    </message>
    <message id="Properties.Speed.Normal">
        <source>Normal</source>
        <translation>Standard</translation>
    </message>
    <message id="Properties.Speed.Normal.Accessible">
        <source>Normal double-click speed</source>
        <translation>Standard-Doppelklick-Tempo</translation>
    </message>
    <message id="Properties.Speed.Measure">
        <source>Double-click the circle to set the speed:</source>
        <translation>Doppelklicken Sie in den Kreis, um das Tempo festzulegen:</translation>
    </message>
    <message id="Properties.Speed.Measure.Accessible">
        <source>Speed measuring area</source>
        <translation>Messfeld für das Tempo</translation>
    </message>
    <message id="Properties.Speed.Try">
        <source>Double-click the circle to try it:</source>
        <translation>Doppelklicken Sie in den Kreis, um es auszuprobieren:</translation>
    </message>
    <message id="Properties.Speed.Try.Accessible">
        <source>Double-click trial area</source>
        <translation>Testfeld für den Doppelklick</translation>
    </message>
    <message id="Properties.Gesture.Swipe">
        <source>Two-finger swipe</source>
        <translation>Wischen mit zwei Fingern</translation>
    </message>
    <message id="Properties.Gesture.Rotation">
        <source>Two-finger rotation</source>
        <translation>Drehen mit zwei Fingern</translation>
    </message>
    <message id="Properties.Gesture.Pinch">
        <source>Two-finger pinch</source>
        <translation>Zoomen mit zwei Fingern</translation>
    </message>
    <message id="Properties.Off">
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message id="Properties.On">
        <source>On</source>
        <translation>Ein</translation>
    </message>
    <message id="Properties.FunctionButton1">
        <source>Function button 1:</source>
        <translation>Funktionstaste 1:</translation>
    </message>
    <message id="Properties.FunctionButton1.Accessible">
        <source>Function button 1</source>
        <translation>Funktionstaste 1</translation>
    </message>
    <message id="Properties.FunctionButton2">
        <source>Function button 2:</source>
        <translation>Funktionstaste 2:</translation>
    </message>
    <message id="Properties.FunctionButton2.Accessible">
        <source>Function button 2</source>
        <translation>Funktionstaste 2</translation>
    </message>
    <message id="Properties.FunctionButton2.Note">
        <source>The button on the side of the pen.</source>
        <translation>Die Taste an der Seite des Stifts.</translation>
    </message>
    <message id="Properties.InputMode">
        <source>Input mode:</source>
        <translation>Eingabemodus:</translation>
    </message>
    <message id="Properties.InputMode.Accessible">
        <source>Input mode</source>
        <translation>Eingabemodus</translation>
    </message>
    <message id="Properties.InputMode.Standard">
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message id="Properties.InputMode.HandWrite">
        <source>Handwriting</source>
        <translation>Handschrift</translation>
    </message>
    <message id="Properties.InputMode.Pen">
        <source>Pen</source>
        <translation>Stift</translation>
    </message>
    <message id="Properties.ResolutionNotice">
        <source>Resolution notice:</source>
        <translation>Hinweis zur Auflösung:</translation>
    </message>
    <message id="Properties.ResolutionNotice.Accessible">
        <source>Resolution notice</source>
        <translation>Hinweis zur Auflösung</translation>
    </message>
    <message id="Properties.EraserArea">
        <source>Eraser area:</source>
        <translation>Radierbereich:</translation>
    </message>
    <message id="Properties.EraserArea.Accessible">
        <source>Eraser area</source>
        <translation>Radierbereich</translation>
    </message>
</context>
</TS>
