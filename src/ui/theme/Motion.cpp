#include "theme/Motion.h"

#include "theme/ReducedMotion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

Motion::Motion(QObject* parent)
    : QObject(parent) {
    connect(&ReducedMotion::instance(), &ReducedMotion::enabledChanged, this,
            &Motion::reduceMotionChanged);
}

bool Motion::reduceMotion() const {
    return ReducedMotion::instance().enabled();
}

Motion::SpringParameters Motion::springParameters(double response, double dampingFraction) {
    // A zero response would be a jump; the smallest one still settles within the first step.
    const double r = std::max(response, 0.001);
    const double z = std::max(dampingFraction, 0.0);
    const double omegaH = 2 * std::numbers::pi / r * stepSeconds;

    // One step maps (to - x, v) by [[1 - h*spring, -h*(1 - damping)], [spring, 1 - damping]]:
    // its determinant is 1 - damping and its trace 2 - h*spring - damping. The sampled
    // oscillator's eigenvalues exp(lambda*h) fix both.
    const double product = std::exp(-2 * z * omegaH);
    double sum = 0;
    if (z < 1)
        sum = 2 * std::exp(-z * omegaH) * std::cos(omegaH * std::sqrt(1 - z * z));
    else
        sum = 2 * std::exp(-z * omegaH) * std::cosh(omegaH * std::sqrt(z * z - 1));

    SpringParameters parameters;
    parameters.damping = 1 - product;
    parameters.spring = (2 - parameters.damping - sum) / stepSeconds;
    return parameters;
}

double Motion::spring(double response, double dampingFraction) {
    return springParameters(response, dampingFraction).spring;
}

double Motion::damping(double response, double dampingFraction) {
    return springParameters(response, dampingFraction).damping;
}
