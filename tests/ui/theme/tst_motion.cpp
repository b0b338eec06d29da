#include "theme/Motion.h"

#include <QTest>
#include <cmath>
#include <numbers>

class TestMotion : public QObject {
    Q_OBJECT

private slots:
    void aBouncySpringOvershootsLikeItsOscillator() {
        const double response = 0.5;
        const double z = 0.3;
        const double spring = Motion::spring(response, z);
        const double damping = Motion::damping(response, z);
        QVERIFY(damping > 0 && damping < 1); // SpringAnimation stops dead at 1

        double x = 0;
        double v = 0;
        double peak = 0;
        for (int i = 0; i < 600; ++i) {
            v = v + spring * (1 - x) - damping * v;
            x += v * Motion::stepSeconds;
            peak = std::max(peak, x);
        }
        const double overshoot = std::exp(-z * std::numbers::pi / std::sqrt(1 - z * z));
        QVERIFY2(std::abs(peak - 1 - overshoot) < 0.005, qPrintable(QString::number(peak - 1)));
        QVERIFY(std::abs(x - 1) < 1e-6);
    }
};

QTEST_GUILESS_MAIN(TestMotion)
#include "tst_motion.moc"
