#include "JsonStream.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace {

constexpr qint64 kChunk = 64 * 1024;

} // namespace

JsonStream::JsonStream(QIODevice& device)
    : m_device(device) {}

int JsonStream::peek() {
    if (m_position == m_buffer.size()) {
        m_consumed += m_buffer.size();
        m_buffer = m_device.read(kChunk);
        m_position = 0;
        if (m_buffer.isEmpty())
            return -1;
    }
    return static_cast<unsigned char>(m_buffer.at(m_position));
}

int JsonStream::get() {
    const int c = peek();
    if (c >= 0)
        ++m_position;
    return c;
}

void JsonStream::skipSpace() {
    for (int c = peek(); c == ' ' || c == '\n' || c == '\r' || c == '\t'; c = peek())
        ++m_position;
}

bool JsonStream::fail(const QString& message) {
    if (m_error.isEmpty())
        m_error = QStringLiteral("not valid JSON at offset %1: %2")
                      .arg(m_consumed + m_position)
                      .arg(message);
    return false;
}

bool JsonStream::expect(char c) {
    skipSpace();
    const int got = peek();
    if (got != c) {
        return fail(got < 0 ? QStringLiteral("the document ends too soon")
                            : QStringLiteral("'%1' expected").arg(QLatin1Char(c)));
    }
    ++m_position;
    return true;
}

bool JsonStream::beginObject() {
    skipSpace();
    if (peek() != '{') {
        if (peek() < 0)
            return fail(QStringLiteral("the document is empty"));
        m_error = QStringLiteral("not a Tavik board: the document is not a JSON object");
        return false;
    }
    ++m_position;
    m_first = true;
    return true;
}

// Between items of an object or array: a comma, or the closing bracket (which ends it).
bool JsonStream::afterItem(char close) {
    m_atEnd = false;
    skipSpace();
    if (m_first) {
        m_first = false;
        if (peek() == close) {
            ++m_position;
            m_atEnd = true;
            return false;
        }
        return true;
    }
    const int c = get();
    if (c == close) {
        m_atEnd = true;
        return false;
    }
    if (c != ',')
        return fail(c < 0 ? QStringLiteral("the document ends too soon")
                          : QStringLiteral("',' or '%1' expected").arg(QLatin1Char(close)));
    return true;
}

bool JsonStream::nextKey(QString* key) {
    if (!afterItem('}'))
        return false;
    skipSpace();
    const qint64 start = m_consumed + m_position;
    QByteArray raw;
    if (peek() != '"')
        return fail(QStringLiteral("a member name expected"));
    QJsonValue value;
    if (!scanValue(&raw) || !parse(raw, start, &value) || !expect(':'))
        return false;
    *key = value.toString();
    return true;
}

bool JsonStream::readValue(QJsonValue* value) {
    skipSpace();
    const qint64 start = m_consumed + m_position;
    QByteArray raw;
    return scanValue(&raw) && parse(raw, start, value);
}

bool JsonStream::enterArray() {
    skipSpace();
    if (peek() != '[')
        return false;
    ++m_position;
    m_first = true;
    return true;
}

bool JsonStream::nextElement(QJsonValue* value) {
    if (!afterItem(']'))
        return false;
    if (!readValue(value))
        return false;
    return true;
}

bool JsonStream::skipValue() {
    skipSpace();
    return scanValue(nullptr);
}

bool JsonStream::skipRestOfArray() {
    while (afterItem(']')) {
        skipSpace();
        if (!scanValue(nullptr))
            return false;
    }
    // After the array the next member follows, not the first.
    const bool ended = m_atEnd;
    m_first = false;
    return ended && m_error.isEmpty();
}

bool JsonStream::endDocument() {
    skipSpace();
    if (peek() >= 0)
        return fail(QStringLiteral("garbage after the document"));
    return true;
}

// Finds the end of the value that starts here: strings are passed over with their escapes,
// brackets counted. Whether the text inside is valid is QJsonDocument's to say.
bool JsonStream::scanValue(QByteArray* raw) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    const int first = peek();
    if (first < 0)
        return fail(QStringLiteral("the document ends too soon"));
    const bool scalar = first != '{' && first != '[' && first != '"';
    for (;;) {
        const int c = peek();
        if (c < 0)
            return scalar && depth == 0 ? true : fail(QStringLiteral("the document ends too soon"));
        if (!inString && depth == 0 && scalar &&
            (c == ',' || c == '}' || c == ']' || c == ' ' || c == '\n' || c == '\r' || c == '\t'))
            return true;
        ++m_position;
        if (raw)
            raw->append(char(c));
        if (inString) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"') {
                inString = false;
                if (depth == 0)
                    return true;
            }
            continue;
        }
        if (c == '"')
            inString = true;
        else if (c == '{' || c == '[')
            ++depth;
        else if (c == '}' || c == ']') {
            if (--depth == 0)
                return true;
            if (depth < 0)
                return fail(QStringLiteral("unbalanced '%1'").arg(QLatin1Char(char(c))));
        }
    }
}

bool JsonStream::parse(const QByteArray& raw, qint64 start, QJsonValue* value) {
    // Wrapped in an array, any value parses, and an object keeps its own form.
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray('[' + raw + ']'), &error);
    if (error.error != QJsonParseError::NoError) {
        m_error = QStringLiteral("not valid JSON at offset %1: %2")
                      .arg(start + qMax(0, error.offset - 1))
                      .arg(error.errorString());
        return false;
    }
    *value = document.array().at(0);
    return true;
}
