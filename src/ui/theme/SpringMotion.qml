import QtQuick
import TavikUi

// A spring of the design's kind (response in seconds, damping fraction) as a Qt Quick
// animation, for transitions and behaviours alike.
SpringAnimation {
    property real response: 0.3
    property real dampingFraction: 1.0

    spring: Motion.spring(response, dampingFraction)
    damping: Motion.damping(response, dampingFraction)
}
