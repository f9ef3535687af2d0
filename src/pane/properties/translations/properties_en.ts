<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name></name>
    <message id="Properties.Tab.DoubleClickRange">
        <source>Double-Click Range</source>
        <translation>Double-Click Range</translation>
    </message>
    <message id="Properties.Tab.DoubleClickSpeed">
        <source>Double-Click Speed</source>
        <translation>Double-Click Speed</translation>
    </message>
    <message id="Properties.Tab.Gestures">
        <source>Gestures</source>
        <translation>Gestures</translation>
    </message>
    <message id="Properties.Tab.Buttons">
        <source>Buttons and Modes</source>
        <translation>Buttons and Modes</translation>
    </message>
    <message id="Properties.Tabs.Accessible">
        <source>Touch properties</source>
        <translation>Touch properties</translation>
    </message>
    <message id="Properties.Range.Explanation">
        <source>How far apart the two taps of a double click may land. The circle shows the distance.</source>
        <translation>How far apart the two taps of a double click may land. The circle shows the distance.</translation>
    </message>
    <message id="Properties.Range.Small">
        <source>Small</source>
        <translation>Small</translation>
    </message>
    <message id="Properties.Range.Large">
        <source>Large</source>
        <translation>Large</translation>
    </message>
    <message id="Properties.Range.Slider.Accessible">
        <source>Double-click range</source>
        <translation>Double-click range</translation>
    </message>
    <message id="Properties.Range.Text.Accessible">
        <source>Double-click range value</source>
        <translation>Double-click range value</translation>
    </message>
    <message id="Properties.Range.View.Accessible">
        <source>Double-click range circle</source>
        <translation>Double-click range circle</translation>
    </message>
    <message id="Properties.Range.Normal">
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message id="Properties.Range.Normal.Accessible">
        <source>Normal double-click range</source>
        <translation>Normal double-click range</translation>
    </message>
    <message id="Properties.Speed.Explanation">
        <source>How quickly the second tap must follow the first.</source>
        <translation>How quickly the second tap must follow the first.</translation>
    </message>
    <message id="Properties.Speed.Slow">
        <source>Slow</source>
        <translation>Slow</translation>
    </message>
    <message id="Properties.Speed.Fast">
        <source>Fast</source>
        <translation>Fast</translation>
    </message>
    <message id="Properties.Speed.Slider.Accessible">
        <source>Double-click speed</source>
        <translation>Double-click speed</translation>
    </message>
    <message id="Properties.Speed.Normal">
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message id="Properties.Speed.Normal.Accessible">
        <source>Normal double-click speed</source>
        <translation>Normal double-click speed</translation>
    </message>
    <message id="Properties.Speed.Measure">
        <source>Double-click the circle to set the speed:</source>
        <translation>Double-click the circle to set the speed:</translation>
    </message>
    <message id="Properties.Speed.Measure.Accessible">
        <source>Speed measuring area</source>
        <translation>Speed measuring area</translation>
    </message>
    <message id="Properties.Speed.Try">
        <source>Double-click the circle to try it:</source>
        <translation>Double-click the circle to try it:</translation>
    </message>
    <message id="Properties.Speed.Try.Accessible">
        <source>Double-click trial area</source>
        <translation>Double-click trial area</translation>
    </message>
    <message id="Properties.Gesture.Swipe">
        <source>Two-finger swipe</source>
        <translation>Two-finger swipe</translation>
    </message>
    <message id="Properties.Gesture.Rotation">
        <source>Two-finger rotation</source>
        <translation>Two-finger rotation</translation>
    </message>
    <message id="Properties.Gesture.Pinch">
        <source>Two-finger pinch</source>
        <translation>Two-finger pinch</translation>
    </message>
    <message id="Properties.Off">
        <source>Off</source>
        <translation>Off</translation>
    </message>
    <message id="Properties.On">
        <source>On</source>
        <translation>On</translation>
    </message>
    <message id="Properties.FunctionButton1">
        <source>Function button 1:</source>
        <translation>Function button 1:</translation>
    </message>
    <message id="Properties.FunctionButton1.Accessible">
        <source>Function button 1</source>
        <translation>Function button 1</translation>
    </message>
    <message id="Properties.FunctionButton2">
        <source>Function button 2:</source>
        <translation>Function button 2:</translation>
    </message>
    <message id="Properties.FunctionButton2.Accessible">
        <source>Function button 2</source>
        <translation>Function button 2</translation>
    </message>
    <message id="Properties.FunctionButton2.Note">
        <source>The button on the side of the pen.</source>
        <translation>The button on the side of the pen.</translation>
    </message>
    <message id="Properties.InputMode">
        <source>Input mode:</source>
        <translation>Input mode:</translation>
    </message>
    <message id="Properties.InputMode.Accessible">
        <source>Input mode</source>
        <translation>Input mode</translation>
    </message>
    <message id="Properties.InputMode.Standard">
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message id="Properties.InputMode.HandWrite">
        <source>Handwriting</source>
        <translation>Handwriting</translation>
    </message>
    <message id="Properties.InputMode.Pen">
        <source>Pen</source>
        <translation>Pen</translation>
    </message>
    <message id="Properties.ResolutionNotice">
        <source>Resolution notice:</source>
        <translation>Resolution notice:</translation>
    </message>
    <message id="Properties.ResolutionNotice.Accessible">
        <source>Resolution notice</source>
        <translation>Resolution notice</translation>
    </message>
    <message id="Properties.EraserArea">
        <source>Eraser area:</source>
        <translation>Eraser area:</translation>
    </message>
    <message id="Properties.EraserArea.Accessible">
        <source>Eraser area</source>
        <translation>Eraser area</translation>
    </message>
</context>
</TS>
