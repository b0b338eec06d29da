import QtQuick
import TavikUi

// `SpringBehavior on x { response: 0.25 }`: every change of the property runs the spring.
Behavior {
    id: behavior

    property real response: 0.3
    property real dampingFraction: 1.0
    // Close enough to rest: 0.25 suits pixels, 0.005 a scale or an opacity.
    property real epsilon: 0.01

    SpringMotion {
        response: behavior.response
        dampingFraction: behavior.dampingFraction
        epsilon: behavior.epsilon
    }
}
