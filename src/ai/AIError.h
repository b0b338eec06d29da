#pragma once

#include <QString>

// Why an AI request gave no answer. Only the settings pane shows these words; the typing
// flow drops every error without a trace.
struct AIError {
    enum class Kind {
        ApiError,         // the service answered with anything but 200
        NetworkError,     // the request never got an answer
        NoApiKey,         // a blank key: nothing was sent
        InvalidResponse,  // a 200 without a first text part, or a model that makes no URL
        UndecodableReply, // the reply text is no task draft; the decoder's words, not ours
    };
    // A network error's cause, so a caller can tell its own cancel from a time-out.
    enum class Cause { Transport, TimedOut, Cancelled };

    Kind kind = Kind::InvalidResponse;
    QString detail; // the server's message, the transport's description or the decoder's
    Cause cause = Cause::Transport;

    [[nodiscard]] static AIError apiError(const QString& message) {
        return {Kind::ApiError, message};
    }
    [[nodiscard]] static AIError networkError(const QString& description, Cause cause) {
        return {Kind::NetworkError, description, cause};
    }
    [[nodiscard]] static AIError noApiKey() { return {Kind::NoApiKey, {}}; }
    [[nodiscard]] static AIError invalidResponse() { return {Kind::InvalidResponse, {}}; }
    [[nodiscard]] static AIError undecodableReply(const QString& problem) {
        return {Kind::UndecodableReply, problem};
    }

    // The sentence the settings pane shows.
    [[nodiscard]] QString errorDescription() const;

    friend bool operator==(const AIError&, const AIError&) = default;
};
