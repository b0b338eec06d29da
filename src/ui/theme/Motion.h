#pragma once

#include <QObject>
#include <QQmlEngine>

// The one translation of the design's springs into Qt Quick. A spring is given as a response
// r (seconds) and a damping fraction z: the damped oscillator with natural frequency 2π/r and
// damping ratio z. Qt's SpringAnimation is not that oscillator but a fixed-step recurrence,
//     v += spring * (to - x) - damping * v;   x += v * 0.016
// run once per 16 ms. The values below give that recurrence the eigenvalues of the oscillator
// sampled every 16 ms, so the motion has the oscillator's decay, frequency and overshoot.
// QML: `SpringMotion { response: 0.28; dampingFraction: 1 }` or `SpringBehavior on x {...}`.
class Motion : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // The desktop asks for less motion: views move nothing and only fade (ReducedMotion).
    Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY reduceMotionChanged)
public:
    explicit Motion(QObject* parent = nullptr);

    [[nodiscard]] bool reduceMotion() const;

    // SpringAnimation's integration step.
    static constexpr double stepSeconds = 0.016;

    struct SpringParameters {
        double spring = 0;
        double damping = 0;
    };
    [[nodiscard]] static SpringParameters springParameters(double response, double dampingFraction);

    Q_INVOKABLE [[nodiscard]] static double spring(double response, double dampingFraction);
    Q_INVOKABLE [[nodiscard]] static double damping(double response, double dampingFraction);

signals:
    void reduceMotionChanged();
};
