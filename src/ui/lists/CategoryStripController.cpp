#include "lists/CategoryStripController.h"

#include "lists/CategoryPalette.h"

CategoryStripController::CategoryStripController(QObject* parent)
    : QObject(parent)
    , m_draftColor(CategoryPalette::first()) {}

void CategoryStripController::setDraftName(const QString& draftName) {
    if (m_draftName == draftName)
        return;
    m_draftName = draftName;
    emit draftNameChanged();
}

bool CategoryStripController::canCreate() const {
    return !m_draftName.trimmed().isEmpty();
}

void CategoryStripController::beginCreate() {
    setDraftName(QString());
    setDraftColor(CategoryPalette::first());
    setPickingColor(false);
    setCreating(true);
}

void CategoryStripController::dismiss() {
    setPickingColor(false);
    setCreating(false);
}

void CategoryStripController::openColorPicker() {
    setPickingColor(true);
}

void CategoryStripController::closeColorPicker() {
    setPickingColor(false);
}

void CategoryStripController::pickColor(const QString& hex) {
    setDraftColor(hex);
    setPickingColor(false);
}

bool CategoryStripController::create() {
    // QString::trimmed drops every kind of blank at both ends, newlines included.
    const QString name = m_draftName.trimmed();
    if (name.isEmpty())
        return false;
    emit createRequested(name, m_draftColor);
    setPickingColor(false);
    setCreating(false);
    return true;
}

void CategoryStripController::setCreating(bool creating) {
    if (m_creating == creating)
        return;
    m_creating = creating;
    emit creatingChanged();
}

void CategoryStripController::setPickingColor(bool pickingColor) {
    if (m_pickingColor == pickingColor)
        return;
    m_pickingColor = pickingColor;
    emit pickingColorChanged();
}

void CategoryStripController::setDraftColor(const QString& draftColor) {
    if (m_draftColor == draftColor)
        return;
    m_draftColor = draftColor;
    emit draftColorChanged();
}
