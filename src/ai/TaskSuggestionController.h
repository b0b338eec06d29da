#pragma once

#include "CategoryInfo.h"
#include "EnhancedDraft.h"
#include "ResolvedSuggestion.h"
#include "TaskDraft.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QUuid>
#include <chrono>
#include <optional>

class AIConfig;
class Clock;
class GeminiClient;
class GeminiReply;

// Watches the quick-entry line and, once it has stood still for a moment, asks the model for
// a cleaner task; then holds the suggestion and the user's edits of it until they accept it
// or turn it down. Every keystroke cancels the work before it, so a stale answer never
// shows. Failures are silent: the line can always be created as typed.
class TaskSuggestionController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasSuggestion READ hasSuggestion NOTIFY suggestionChanged)
    Q_PROPERTY(ResolvedSuggestion suggestion READ shownSuggestion NOTIFY suggestionChanged)
    Q_PROPERTY(bool isAnalyzing READ isAnalyzing NOTIFY analyzingChanged)
    Q_PROPERTY(QString draftTitle READ draftTitle WRITE setDraftTitle NOTIFY draftChanged)
    Q_PROPERTY(QString draftNote READ draftNote WRITE setDraftNote NOTIFY draftChanged)
    Q_PROPERTY(QDateTime draftDueDate READ draftDueDate WRITE setDraftDueDate NOTIFY draftChanged)
    Q_PROPERTY(
        QDateTime draftReminderAt READ draftReminderAt WRITE setDraftReminderAt NOTIFY draftChanged)
    Q_PROPERTY(QUuid draftListId READ draftListId WRITE setDraftListId NOTIFY draftChanged)
    Q_PROPERTY(int suggestionToken READ suggestionToken NOTIFY suggestionChanged)

public:
    // Counted in user-perceived characters: an ideograph or an emoji is one.
    static constexpr int minimumInput = 6;
    static constexpr int maximumSent = 2000;

    struct Options {
        // How long the text must stand still before it is sent.
        std::chrono::milliseconds debounce{1200};
    };

    TaskSuggestionController(AIConfig& config, GeminiClient& client, const Clock& clock,
                             Options options, QObject* parent = nullptr);
    ~TaskSuggestionController() override;

    // Called on every change of the line, with the lists in display order.
    Q_INVOKABLE void inputChanged(const QString& text, const QList<CategoryInfo>& categories);
    // The card as the user edited it, or none while there is no card or its title is blank.
    // A draft that leaves resets the controller.
    std::optional<EnhancedDraft> accept();
    // The same for views: true when a draft left, announced by `accepted`.
    Q_INVOKABLE bool acceptSuggestion();
    // Turns the card down; its text is not analysed again until reset.
    Q_INVOKABLE void dismiss();
    // Back to a new controller's state, the token excepted.
    Q_INVOKABLE void reset();

    // The model's answer made usable, or none for a negative one.
    [[nodiscard]] static std::optional<ResolvedSuggestion>
    resolve(const TaskDraft& draft, const QList<CategoryInfo>& categories);

    [[nodiscard]] const std::optional<ResolvedSuggestion>& suggestion() const {
        return m_suggestion;
    }
    [[nodiscard]] bool hasSuggestion() const { return m_suggestion.has_value(); }
    [[nodiscard]] ResolvedSuggestion shownSuggestion() const {
        return m_suggestion.value_or(ResolvedSuggestion());
    }
    [[nodiscard]] bool isAnalyzing() const { return m_analyzing; }
    // A text is waiting for its quiet moment or for its answer.
    [[nodiscard]] bool isBusy() const { return m_debounce.isActive() || m_reply; }
    [[nodiscard]] int suggestionToken() const { return m_suggestionToken; }

    [[nodiscard]] QString draftTitle() const { return m_draft.title; }
    void setDraftTitle(const QString& title);
    [[nodiscard]] QString draftNote() const { return m_draft.note; }
    void setDraftNote(const QString& note);
    [[nodiscard]] QDateTime draftDueDate() const { return m_draft.dueDate; }
    void setDraftDueDate(const QDateTime& day);
    [[nodiscard]] QDateTime draftReminderAt() const { return m_draft.reminderAt; }
    void setDraftReminderAt(const QDateTime& moment);
    [[nodiscard]] QUuid draftListId() const { return m_draft.listUuid(); }
    void setDraftListId(const QUuid& id);

signals:
    void suggestionChanged();
    void analyzingChanged();
    void draftChanged();
    void accepted(const EnhancedDraft& draft);

private:
    // What one analysis was started with: snapshots, so later edits in the settings or the
    // lists do not touch it.
    struct Analysis {
        QString text;
        QList<CategoryInfo> categories;
        QStringList names;
        QDateTime now; // the keystroke's moment, not the sending's
        QString apiKey;
        QString model;
    };

    void cancelAnalysis();
    void run();
    void finishAnalysis();
    void present(const ResolvedSuggestion& suggestion);
    void clearVisible();
    void setSuggestion(std::optional<ResolvedSuggestion> suggestion);
    void setAnalyzing(bool analyzing);
    void setDraft(const EnhancedDraft& draft);

    AIConfig& m_config;
    GeminiClient& m_client;
    const Clock& m_clock;
    QTimer m_debounce;
    Analysis m_analysis;
    GeminiReply* m_reply = nullptr;

    std::optional<ResolvedSuggestion> m_suggestion;
    bool m_analyzing = false;
    EnhancedDraft m_draft;
    int m_suggestionToken = 0;
    QString m_lastAnalyzedText;
    std::optional<QString> m_dismissedText;
};
