import QtQuick

// The motion of a critically damped spring of 0.25 s: swift, and without a bounce.
NumberAnimation {
    duration: 360
    easing.type: Easing.BezierSpline
    easing.bezierCurve: [0.29, 0.47, 0.036, 1, 1, 1]
}
