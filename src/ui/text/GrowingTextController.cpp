#include "text/GrowingTextController.h"

#include <cmath>

GrowingTextController::GrowingTextController(QObject* parent)
    : QObject(parent) {}

void GrowingTextController::setAllowsNewlines(bool allows) {
    if (m_allowsNewlines == allows)
        return;
    m_allowsNewlines = allows;
    emit allowsNewlinesChanged();
}

void GrowingTextController::setSubmitOnReturn(bool submit) {
    if (m_submitOnReturn == submit)
        return;
    m_submitOnReturn = submit;
    emit submitOnReturnChanged();
}

GrowingTextController::ReturnAction GrowingTextController::returnAction(bool composing,
                                                                        int modifiers) const {
    if (composing)
        return LeaveToInputMethod;
    if (!m_allowsNewlines)
        return Submit;
    if (modifiers & Qt::ShiftModifier)
        return NewLine;
    return m_submitOnReturn ? Submit : NewLine;
}

bool GrowingTextController::shouldReportHeight(qreal measured, qreal reported) const {
    return measured > 0 && std::abs(measured - reported) > 0.5;
}
