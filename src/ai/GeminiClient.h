#pragma once

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <chrono>

class GeminiReply;
class QJsonObject;
class QNetworkAccessManager;

// The only code that talks to the network for AI: one generateContent call per request, no
// retries, no cache, no streaming. It holds no settings: the key and the model come with
// each call, trimmed here, at the point of use.
class GeminiClient : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString endpointHost READ endpointHost CONSTANT)

public:
    // Points every client of the process at another host: a local fake in tests, a relay for
    // users who cannot reach Google directly.
    inline static const char* const endpointVariable = "TAVIK_GEMINI_ENDPOINT";
    inline static const QString defaultEndpoint =
        QStringLiteral("https://generativelanguage.googleapis.com");

    struct Options {
        QUrl endpoint = configuredEndpoint();
        std::chrono::milliseconds enhanceTimeout{std::chrono::seconds(20)};
        std::chrono::milliseconds validateTimeout{std::chrono::seconds(15)};
    };

    // The endpoint from the environment, else Google's public one.
    [[nodiscard]] static QUrl configuredEndpoint();

    explicit GeminiClient(QNetworkAccessManager* network, Options options,
                          QObject* parent = nullptr);

    // The process-wide instance that main installs; null before that.
    [[nodiscard]] static GeminiClient* shared();
    static void setShared(GeminiClient* client);

    // Asks for the task draft of one raw line. The caller owns the reply.
    [[nodiscard]] GeminiReply* enhance(const QString& input, const QStringList& categoryNames,
                                       const QDateTime& now, const QString& apiKey,
                                       const QString& model);
    // Proves that a key and a model work: any 200 will do. The caller owns the reply.
    [[nodiscard]] GeminiReply* validate(const QString& apiKey, const QString& model);

    [[nodiscard]] QString endpointHost() const { return m_options.endpoint.host(); }
    [[nodiscard]] const Options& options() const { return m_options; }

private:
    enum class Operation { Enhance, Validate };
    GeminiReply* send(Operation operation, const QJsonObject& body, const QString& apiKey,
                      const QString& model);

    QNetworkAccessManager* m_network;
    Options m_options;
};
