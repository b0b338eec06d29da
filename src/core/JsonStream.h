#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QJsonValue>
#include <QString>

// Reads one JSON object from a device member by member, and the elements of an array member
// one at a time, so that a document of any size is held one element at a time. Each value
// is handed over as QJsonDocument parses it; the scanner only finds where a value ends.
class JsonStream {
public:
    explicit JsonStream(QIODevice& device);

    // Expects the document's opening brace; false (with error()) for anything else.
    bool beginObject();
    // The key of the next member, or false at the object's end (atEnd()) or on an error.
    bool nextKey(QString* key);
    // The member's value, whole.
    bool readValue(QJsonValue* value);
    // Whether the member's value is an array; if so, enters it.
    bool enterArray();
    // The next element of the entered array, or false at its end (atEnd()) or on an error.
    bool nextElement(QJsonValue* value);
    // Passes over the member's value (or the rest of an entered array) without parsing it.
    bool skipValue();
    bool skipRestOfArray();
    // After the object's closing brace: only white space may follow.
    bool endDocument();

    [[nodiscard]] bool atEnd() const { return m_atEnd; }
    [[nodiscard]] QString error() const { return m_error; }

private:
    int peek();
    int get();
    void skipSpace();
    bool expect(char c);
    bool afterItem(char close);
    bool scanValue(QByteArray* raw);
    bool parse(const QByteArray& raw, qint64 start, QJsonValue* value);
    bool fail(const QString& message);

    QIODevice& m_device;
    QByteArray m_buffer;
    qsizetype m_position = 0;
    qint64 m_consumed = 0; // bytes before m_buffer
    bool m_first = true;
    bool m_atEnd = false;
    QString m_error;
};
