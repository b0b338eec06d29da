#include "TaskSuggestionController.h"

#include "AIConfig.h"
#include "AIDate.h"
#include "Clock.h"
#include "GeminiClient.h"
#include "GeminiReply.h"

#include <QTextBoundaryFinder>

namespace {

// The first `count` user-perceived characters, or the whole text when it is shorter; the
// number of characters in it goes to `length`.
QString firstCharacters(const QString& text, int count, int* length = nullptr) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int seen = 0;
    qsizetype end = 0;
    while (seen < count) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0)
            break;
        end = next;
        ++seen;
    }
    if (length)
        *length = seen;
    return text.left(end);
}

} // namespace

TaskSuggestionController::TaskSuggestionController(AIConfig& config, GeminiClient& client,
                                                   const Clock& clock, Options options,
                                                   QObject* parent)
    : QObject(parent)
    , m_config(config)
    , m_client(client)
    , m_clock(clock) {
    m_config.loadKey();
    m_debounce.setSingleShot(true);
    m_debounce.setTimerType(Qt::PreciseTimer);
    m_debounce.setInterval(options.debounce);
    connect(&m_debounce, &QTimer::timeout, this, &TaskSuggestionController::run);
}

TaskSuggestionController::~TaskSuggestionController() {
    cancelAnalysis();
}

void TaskSuggestionController::inputChanged(const QString& text,
                                            const QList<CategoryInfo>& categories) {
    const QString trimmed = text.trimmed();
    // Any change of the text kills the analysis before it, whatever follows.
    cancelAnalysis();
    if (!m_config.isActive()) {
        clearVisible();
        return;
    }
    int length = 0;
    firstCharacters(trimmed, minimumInput, &length);
    if (length < minimumInput) {
        clearVisible();
        return;
    }
    if (m_dismissedText == trimmed) {
        setSuggestion(std::nullopt);
        return;
    }
    // Whatever is on show stays: a change of blanks only costs nothing.
    if (trimmed == m_lastAnalyzedText)
        return;
    setSuggestion(std::nullopt);

    QStringList names;
    for (const CategoryInfo& category : categories)
        names.append(category.name);
    m_analysis = {trimmed,       categories,        names,
                  m_clock.now(), m_config.apiKey(), m_config.effectiveModel()};
    m_debounce.start();
}

void TaskSuggestionController::cancelAnalysis() {
    m_debounce.stop();
    if (m_reply) {
        // Disconnected first: the cancelled answer must never reach finishAnalysis.
        m_reply->disconnect(this);
        m_reply->abort();
        m_reply->deleteLater();
        m_reply = nullptr;
        setAnalyzing(false);
    }
}

void TaskSuggestionController::run() {
    setAnalyzing(true);
    m_reply = m_client.enhance(firstCharacters(m_analysis.text, maximumSent), m_analysis.names,
                               m_analysis.now, m_analysis.apiKey, m_analysis.model);
    m_reply->setParent(this);
    connect(m_reply, &GeminiReply::finished, this, &TaskSuggestionController::finishAnalysis);
}

void TaskSuggestionController::finishAnalysis() {
    GeminiReply* reply = std::exchange(m_reply, nullptr);
    reply->deleteLater();
    // A failure of any kind leaves the text unanalysed, so bringing it back asks again.
    if (const std::optional<TaskDraft>& draft = reply->draft()) {
        m_lastAnalyzedText = m_analysis.text;
        // The model's verdict first, the local test second; both must agree.
        const std::optional<ResolvedSuggestion> resolved =
            draft->shouldSuggest ? resolve(*draft, m_analysis.categories) : std::nullopt;
        if (resolved && resolved->isMeaningful(m_analysis.text))
            present(*resolved);
        else
            setSuggestion(std::nullopt);
    } else {
        setSuggestion(std::nullopt);
    }
    setAnalyzing(false);
}

std::optional<ResolvedSuggestion>
TaskSuggestionController::resolve(const TaskDraft& draft, const QList<CategoryInfo>& categories) {
    ResolvedSuggestion resolved;
    resolved.title = draft.title.trimmed();
    if (resolved.title.isEmpty())
        return std::nullopt; // the one flaw that sinks a whole answer
    resolved.note = draft.note.value_or(QString()).trimmed();
    resolved.dueDate = AIDate::parseDay(draft.dueDate);
    resolved.reminderAt = AIDate::parseDateTime(draft.reminder);
    // A clock time the model put in the day field still makes the reminder.
    if (!resolved.reminderAt.isValid() && AIDate::hasClockTime(draft.dueDate))
        resolved.reminderAt = AIDate::parseDateTime(draft.dueDate);

    const QString category = draft.category.value_or(QString()).trimmed();
    if (!category.isEmpty() && category.compare(QLatin1String("null"), Qt::CaseInsensitive)) {
        // A list the model made up is dropped, never created.
        for (const CategoryInfo& info : categories) {
            if (info.name.compare(category, Qt::CaseInsensitive) == 0) {
                resolved.listId = info.id;
                resolved.categoryName = info.name;
                resolved.categoryColorHex = info.colorHex;
                break;
            }
        }
    }
    if (const QString summary = draft.summary.value_or(QString()).trimmed(); !summary.isEmpty())
        resolved.summary = summary;
    return resolved;
}

void TaskSuggestionController::present(const ResolvedSuggestion& suggestion) {
    m_suggestion = suggestion;
    EnhancedDraft draft;
    draft.title = suggestion.title;
    draft.note = suggestion.note;
    draft.dueDate = suggestion.dueDate;
    draft.reminderAt = suggestion.reminderAt;
    draft.listId = suggestion.listId;
    ++m_suggestionToken;
    setDraft(draft);
    emit suggestionChanged();
}

void TaskSuggestionController::clearVisible() {
    setSuggestion(std::nullopt);
    setAnalyzing(false);
    setDraft({});
}

std::optional<EnhancedDraft> TaskSuggestionController::accept() {
    const QString title = m_draft.title.trimmed();
    if (!m_suggestion || title.isEmpty())
        return std::nullopt;
    // Only the editable fields count: what the user changed on the card is what goes.
    EnhancedDraft draft = m_draft;
    draft.title = title;
    draft.note = m_draft.note.trimmed();
    reset();
    emit accepted(draft);
    return draft;
}

bool TaskSuggestionController::acceptSuggestion() {
    return accept().has_value();
}

void TaskSuggestionController::dismiss() {
    if (!m_lastAnalyzedText.isEmpty())
        m_dismissedText = m_lastAnalyzedText;
    setSuggestion(std::nullopt);
    setDraft({});
}

void TaskSuggestionController::reset() {
    cancelAnalysis();
    setSuggestion(std::nullopt);
    setAnalyzing(false);
    m_lastAnalyzedText.clear();
    m_dismissedText.reset();
    setDraft({});
}

void TaskSuggestionController::setSuggestion(std::optional<ResolvedSuggestion> suggestion) {
    if (suggestion == m_suggestion)
        return;
    m_suggestion = std::move(suggestion);
    emit suggestionChanged();
}

void TaskSuggestionController::setAnalyzing(bool analyzing) {
    if (analyzing == m_analyzing)
        return;
    m_analyzing = analyzing;
    emit analyzingChanged();
}

void TaskSuggestionController::setDraft(const EnhancedDraft& draft) {
    if (draft == m_draft)
        return;
    m_draft = draft;
    emit draftChanged();
}

void TaskSuggestionController::setDraftTitle(const QString& title) {
    EnhancedDraft draft = m_draft;
    draft.title = title;
    setDraft(draft);
}

void TaskSuggestionController::setDraftNote(const QString& note) {
    EnhancedDraft draft = m_draft;
    draft.note = note;
    setDraft(draft);
}

void TaskSuggestionController::setDraftDueDate(const QDateTime& day) {
    EnhancedDraft draft = m_draft;
    draft.dueDate = day;
    setDraft(draft);
}

void TaskSuggestionController::setDraftReminderAt(const QDateTime& moment) {
    EnhancedDraft draft = m_draft;
    draft.reminderAt = moment;
    setDraft(draft);
}

void TaskSuggestionController::setDraftListId(const QUuid& id) {
    EnhancedDraft draft = m_draft;
    draft.setListUuid(id);
    setDraft(draft);
}
