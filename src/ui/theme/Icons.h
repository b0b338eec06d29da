#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QString>

// The system's symbol names, mapped once to glyphs of the Material Design Icons font.
class Icons : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString fontFamily READ fontFamily CONSTANT)
public:
    using QObject::QObject;

    [[nodiscard]] static QString fontFamily() { return QStringLiteral("Material Design Icons"); }
    // The glyph for a symbol name; an unknown name gives a visible placeholder, never nothing.
    Q_INVOKABLE [[nodiscard]] static QString glyph(const QString& symbolName);
    [[nodiscard]] static bool isKnown(const QString& symbolName);
};
