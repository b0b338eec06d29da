// The spring helper against the oscillator it stands for: Qt's SpringAnimation, run with the
// helper's values, must settle when the oscillator settles and overshoot as far.
#include "theme/Motion.h"

#include <QTest>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

// SpringAnimation's own loop: one step per 16 ms, mass 1, towards 1 from rest at 0.
std::vector<double> springAnimation(double spring, double damping, int steps) {
    std::vector<double> values;
    double x = 0;
    double v = 0;
    for (int i = 0; i < steps; ++i) {
        v = v + spring * (1 - x) - damping * v;
        x += v * Motion::stepSeconds;
        values.push_back(x);
    }
    return values;
}

// The damped oscillator's step response at t seconds.
double oscillator(double t, double response, double z) {
    const double w = 2 * std::numbers::pi / response;
    if (z < 1) {
        const double wd = w * std::sqrt(1 - z * z);
        return 1 - std::exp(-z * w * t) * (std::cos(wd * t) + z * w / wd * std::sin(wd * t));
    }
    if (z == 1)
        return 1 - (1 + w * t) * std::exp(-w * t);
    const double s = std::sqrt(z * z - 1);
    const double r1 = -w * (z - s);
    const double r2 = -w * (z + s);
    return 1 - (r2 * std::exp(r1 * t) - r1 * std::exp(r2 * t)) / (r2 - r1);
}

// Steps until the value stays within 2% of the target.
int settleSteps(const std::vector<double>& values) {
    int last = 0;
    for (int i = 0; i < int(values.size()); ++i) {
        if (std::abs(1 - values[size_t(i)]) >= 0.02)
            last = i + 1;
    }
    return last;
}

} // namespace

class TestMotion : public QObject {
    Q_OBJECT

private slots:
    void springsMoveLikeTheirOscillator_data() {
        QTest::addColumn<double>("response");
        QTest::addColumn<double>("dampingFraction");

        // The springs the board uses, and a few beyond them.
        QTest::newRow("drag rows 0.18/0.85") << 0.18 << 0.85;
        QTest::newRow("list rows 0.28/1") << 0.28 << 1.0;
        QTest::newRow("bouncy 0.5/0.3") << 0.5 << 0.3;
        QTest::newRow("overdamped 0.4/1.5") << 0.4 << 1.5;
    }

    void springsMoveLikeTheirOscillator() {
        QFETCH(double, response);
        QFETCH(double, dampingFraction);

        const double spring = Motion::spring(response, dampingFraction);
        const double damping = Motion::damping(response, dampingFraction);
        // SpringAnimation caps damping at 1, where the motion would stop dead.
        QVERIFY(damping > 0 && damping < 1);
        QVERIFY(spring > 0);

        const int steps = 600;
        const std::vector<double> animated = springAnimation(spring, damping, steps);
        std::vector<double> reference;
        for (int i = 1; i <= steps; ++i)
            reference.push_back(oscillator(i * Motion::stepSeconds, response, dampingFraction));

        QVERIFY2(std::abs(settleSteps(animated) - settleSteps(reference)) <= 1,
                 qPrintable(QStringLiteral("settles after %1 steps, the oscillator after %2")
                                .arg(settleSteps(animated))
                                .arg(settleSteps(reference))));
        const double peak = *std::max_element(animated.cbegin(), animated.cend());
        const double referencePeak = *std::max_element(reference.cbegin(), reference.cend());
        QVERIFY2(std::abs(peak - referencePeak) < 0.005,
                 qPrintable(QStringLiteral("overshoot %1, the oscillator's %2")
                                .arg(peak - 1)
                                .arg(referencePeak - 1)));
        QVERIFY(std::abs(animated.back() - 1) < 1e-6);
    }

    void degenerateSpringsStillArrive() {
        for (double response : {0.0, -1.0, 0.001}) {
            const std::vector<double> values =
                springAnimation(Motion::spring(response, 1), Motion::damping(response, 1), 3);
            QVERIFY(std::isfinite(values.back()));
            QVERIFY(std::abs(values.back() - 1) < 0.01);
        }
    }
};

QTEST_GUILESS_MAIN(TestMotion)
#include "tst_motion.moc"
