#include "CalDavMirror.h"

#include "Clock.h"
#include "ModelContext.h"
#include "SyncLog.h"
#include "SyncWorker.h"
#include "TaskCategory.h"
#include "TaskItem.h"
#include "TaskMerge.h"
#include "TavikPersistence.h"
#include "VtodoCodec.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRegularExpression>
#include <QTimer>

namespace {

const QString homeKey = QStringLiteral("home");
const QString accountKey = QStringLiteral("account");
const QString defaultCollectionSlug = QStringLiteral("tavik/");
const QString defaultCollectionName = QStringLiteral("Tavik");
const QString saveAction = QStringLiteral("sync");
const QString uploadDoneKey = QStringLiteral("upload.done");
const QString uploadTotalKey = QStringLiteral("upload.total");
// Per collection: the hrefs we made since its token.
const QString madeKey = QStringLiteral("made ");
// A long upload keeps how far it got this often, so a quit costs at most this many resends.
constexpr qsizetype acknowledgeEvery = 25;

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

// "#RRGGBB" or "#RRGGBBAA" from the server as the board's "RRGGBB".
QString boardColor(const QString& serverColor) {
    const QString hex = serverColor.trimmed().remove(QLatin1Char('#')).left(6).toUpper();
    static const QRegularExpression form(QStringLiteral("^[0-9A-F]{6}$"));
    return form.match(hex).hasMatch() ? hex : TaskCategory::defaultColorHex;
}

CalendarCollection serverForm(const TaskCategory& category, const QUrl& url) {
    CalendarCollection collection;
    collection.url = url;
    collection.displayName = category.name();
    collection.color = QLatin1Char('#') + category.colorHex() + QStringLiteral("FF");
    collection.order = category.sortIndex();
    return collection;
}

QString pathKey(const QUrl& url) {
    return url.adjusted(QUrl::StripTrailingSlash).path(QUrl::FullyDecoded);
}

bool sameUrl(const QUrl& a, const QUrl& b) {
    return a.adjusted(QUrl::StripTrailingSlash).path(QUrl::FullyDecoded) ==
           b.adjusted(QUrl::StripTrailingSlash).path(QUrl::FullyDecoded);
}

// Errors that stop a whole export: every later request would meet them too.
bool stopsExport(const CalDavError& error) {
    using Kind = CalDavError::Kind;
    return error.kind == Kind::network || error.kind == Kind::signIn || error.kind == Kind::quota ||
           error.kind == Kind::server;
}

} // namespace

CalDavMirror::CalDavMirror(ModelContext& context, MirrorStore& store, CalDavClient& client,
                           const Clock& clock, NotificationHub& hub, QObject* parent)
    : QObject(parent)
    , m_context(context)
    , m_store(store)
    , m_client(client)
    , m_clock(clock)
    , m_hub(hub) {}

bool CalDavMirror::saveBoard(bool recorded) {
    // Through the checked save, so a failing disk is told once, as for the board's own saves.
    m_context.setRecordingChanges(recorded);
    const bool saved = TavikPersistence::save(m_context, saveAction, m_hub);
    m_context.setRecordingChanges(true);
    if (!saved)
        finish(CalDavError::protocol(0, QStringLiteral("the store could not be saved")));
    return saved;
}

void CalDavMirror::sync() {
    if (m_running) {
        m_again = true;
        return;
    }
    m_running = true;
    m_failed = false;
    m_retryAfterSecs = -1;
    setup();
}

void CalDavMirror::begin(MirrorEvent::Type type) {
    m_event = MirrorEvent{type, m_clock.now(), {}, {}};
    emit eventChanged(m_event);
}

void CalDavMirror::end(const CalDavError& error) {
    m_event.endedAt = m_clock.now();
    m_event.error = error;
    if (error.isError()) {
        m_failed = true;
        m_retryAfterSecs = qMax(m_retryAfterSecs, error.retryAfterSecs);
        qCInfo(lcSync) << "sync step" << static_cast<int>(m_event.type)
                       << "failed:" << error.detail;
    }
    emit eventChanged(m_event);
}

void CalDavMirror::finish(const CalDavError& error) {
    end(error);
    m_running = false;
    emit finished(!m_failed);
    if (m_again) {
        m_again = false;
        sync();
    }
}

// --- setup ---------------------------------------------------------------------------------

void CalDavMirror::setup() {
    begin(MirrorEvent::Type::setup);
    // What is known of another account's server means nothing for this one.
    const CalDavClient::Account& account = m_client.account();
    const QString accountName =
        account.serverUrl.toString(QUrl::FullyEncoded) + QLatin1Char(' ') + account.username;
    if (m_store.value(accountKey) != accountName) {
        m_store.begin();
        m_store.clear();
        m_store.setValue(accountKey, accountName);
        m_store.commit();
        // A board the last account already took still has to reach this one.
        m_context.requeueAll();
    }
    QPointer<CalDavMirror> self(this);
    // Only a collection imported before is compared with its ctag; a first import reads its
    // token apart, so the listing asks no marker at all then (each costs Radicale a pass
    // over every item).
    const QList<MirrorStore::Collection> known = m_store.collections();
    const bool compare = std::any_of(known.cbegin(), known.cend(),
                                     [](const auto& c) { return !c.syncToken.isEmpty(); });
    const auto list = [this, self, compare](const QUrl& home) {
        m_home = home;
        m_client.listCollections(
            home,
            [this, self](const CalDavError& error, const QList<CalendarCollection>& found) {
                if (!self)
                    return;
                if (error.isError()) {
                    finish(error);
                    return;
                }
                pairCollections(found);
            },
            compare ? CalDavClient::Markers::ctag : CalDavClient::Markers::none);
    };
    const QUrl stored = QUrl(m_store.value(homeKey));
    if (stored.isValid() && !stored.isEmpty()) {
        list(stored);
        return;
    }
    m_client.discover([this, self, list](const CalDavError& error, const CalDavClient::Home& home) {
        if (!self)
            return;
        if (error.isError()) {
            finish(error);
            return;
        }
        m_store.setValue(homeKey, home.calendarHome.toString(QUrl::FullyEncoded));
        list(home.calendarHome);
    });
}

void CalDavMirror::pairCollections(const QList<CalendarCollection>& onServer) {
    // Unsaved board changes are saved, recorded, before the server's go in unrecorded.
    if (!saveBoard(true))
        return;
    m_onServer.clear();
    for (const CalendarCollection& collection : onServer)
        m_onServer.insert(collection.url.adjusted(QUrl::StripTrailingSlash), collection);
    const QList<MirrorStore::Collection> known = m_store.collections();
    const auto isKnown = [&](const QUrl& url) {
        return std::any_of(known.cbegin(), known.cend(),
                           [&](const MirrorStore::Collection& c) { return sameUrl(c.url, url); });
    };

    // Lists made by other clients become lists here; one of the same name is paired rather
    // than doubled (two lists of one name stop some clients).
    QList<MirrorStore::Collection> paired;
    const QUrl defaultUrl = m_home.resolved(QUrl(defaultCollectionSlug));
    bool changedBoard = false;
    QSet<QUuid> changedHere;
    for (const RecordChange& change : m_context.pendingChanges())
        changedHere.insert(change.id);

    // A collection of ours gone from the server: its list was deleted elsewhere. The import
    // takes its tasks off the board (those that did not move elsewhere), so a failed import
    // leaves the board as it was. Not believed from a server that suddenly lists nothing.
    m_vanished.clear();
    for (const MirrorStore::Collection& collection : known) {
        if (!onServer.isEmpty() &&
            !m_onServer.contains(collection.url.adjusted(QUrl::StripTrailingSlash))) {
            qCInfo(lcSync) << collection.url.path() << "was deleted on the server";
            m_vanished.append(collection);
        }
    }
    for (const CalendarCollection& collection : onServer) {
        if (isKnown(collection.url)) {
            // A list renamed or recoloured elsewhere, unless it was changed here too (then
            // this board's name goes out with the export). The order stays local: some
            // servers drop it.
            TaskCategory* category = categoryFor(collection.url);
            if (category && !changedHere.contains(category->id())) {
                if (!collection.displayName.isEmpty() &&
                    collection.displayName != category->name()) {
                    category->setName(collection.displayName);
                    changedBoard = true;
                }
                if (!collection.color.isEmpty() &&
                    boardColor(collection.color) != category->colorHex()) {
                    category->setColorHex(boardColor(collection.color));
                    changedBoard = true;
                }
            }
            continue;
        }
        MirrorStore::Collection entry{collection.url, std::nullopt, {}, {}};
        if (!sameUrl(collection.url, defaultUrl)) {
            TaskCategory* match = nullptr;
            for (TaskCategory* category : m_context.categories()) {
                if (category->name() == collection.displayName &&
                    !collectionFor(category).isValid())
                    match = category;
            }
            if (!match) {
                match = new TaskCategory(collection.displayName, boardColor(collection.color),
                                         collection.order.value_or(m_context.categories().size()),
                                         m_clock.now());
                m_context.insert(match);
                changedBoard = true;
            }
            entry.categoryId = match->id();
        }
        paired.append(entry);
    }
    if (changedBoard && !saveBoard(false))
        return;
    m_store.begin();
    for (const MirrorStore::Collection& entry : paired)
        m_store.putCollection(entry);
    if (!m_store.commit()) {
        finish(CalDavError::protocol(0, QStringLiteral("the mirror state could not be saved")));
        return;
    }

    QList<QUuid> missing;
    for (TaskCategory* category : m_context.categories()) {
        if (!collectionFor(category).isValid())
            missing.append(category->id());
    }
    createCollections(missing);
}

void CalDavMirror::createCollections(QList<QUuid> missing) {
    // A list deleted while its collection was being made needs none.
    while (!missing.isEmpty() && !m_context.category(missing.first()))
        missing.removeFirst();
    // The default collection first: tasks without a list live there.
    const QUrl defaultUrl = collectionFor(nullptr);
    const bool needDefault = !defaultUrl.isValid() || isVanished(defaultUrl);
    if (!needDefault && missing.isEmpty()) {
        end({});
        m_toImport.clear();
        for (const MirrorStore::Collection& collection : m_store.collections()) {
            if (!isVanished(collection.url))
                m_toImport.append(collection);
        }
        m_deltas.clear();
        begin(MirrorEvent::Type::import);
        importNext(0);
        return;
    }
    CalendarCollection collection;
    std::optional<QUuid> categoryId;
    if (needDefault) {
        collection.url = m_home.resolved(QUrl(defaultCollectionSlug));
        collection.displayName = defaultCollectionName;
    } else {
        TaskCategory* category = m_context.category(missing.takeFirst());
        collection = serverForm(*category, m_home.resolved(QUrl(idText(category->id()) + '/')));
        categoryId = category->id();
    }
    QPointer<CalDavMirror> self(this);
    m_client.makeCalendar(collection,
                          [this, self, collection, categoryId, missing](const CalDavError& error) {
                              if (!self)
                                  return;
                              // 405: it is there already (made by an earlier run that did not hear
                              // the answer).
                              if (error.isError() && error.httpStatus != 405) {
                                  finish(error);
                                  return;
                              }
                              m_store.putCollection({collection.url, categoryId, {}, {}});
                              createCollections(missing);
                          });
}

// --- import --------------------------------------------------------------------------------

void CalDavMirror::importNext(qsizetype index) {
    while (index < m_toImport.size()) {
        const MirrorStore::Collection& collection = m_toImport.at(index);
        const CalendarCollection server =
            m_onServer.value(collection.url.adjusted(QUrl::StripTrailingSlash));
        // Nothing moved since the last import: no request for this collection. The ctag alone
        // tells; the token is the one the next change is read from.
        const bool unchanged = !collection.syncToken.isEmpty() && !collection.ctag.isEmpty() &&
                               collection.ctag == server.ctag;
        if (!unchanged)
            break;
        ++index;
    }
    if (index >= m_toImport.size()) {
        applyDeltas();
        return;
    }
    QPointer<CalDavMirror> self(this);
    fetchDelta(m_toImport.at(index),
               [this, self, index](const CalDavError& error, const Delta& delta) {
                   if (!self)
                       return;
                   if (error.isError()) {
                       end(error);
                       // An import that failed leaves every token as it was; the export still
                       // runs, and a 412 there merges what the import did not bring.
                       startExport();
                       return;
                   }
                   // Reading every text is the longest part of a large import: it runs on
                   // the worker, and the delta is applied once every collection's is read.
                   VtodoCodec::loadZones();
                   SyncWorker::run<QList<Decoded>>(
                       this, [items = delta.changed] { return decodeAll(items); },
                       [this, delta, index](const QList<Decoded>& decoded) {
                           m_deltas.append(delta);
                           m_deltas.last().decoded = decoded;
                           importNext(index + 1);
                       });
               });
}

void CalDavMirror::fetchDelta(const MirrorStore::Collection& collection,
                              const std::function<void(const CalDavError&, const Delta&)>& done) {
    QPointer<CalDavMirror> self(this);
    const CalendarCollection server =
        m_onServer.value(collection.url.adjusted(QUrl::StripTrailingSlash));
    // Without a usable token: everything the collection holds, and what we hold there and it
    // no longer lists was deleted there. The token is read before the listing, so nothing
    // that changes meanwhile is skipped.
    const auto listWith = [this, self, collection, server, done](bool withData,
                                                                 const QString& token) {
        m_client.listItems(collection.url, withData,
                           [this, self, collection, server, token,
                            done](const CalDavError& error, const QList<CalendarItem>& listed) {
                               if (!self)
                                   return;
                               Delta delta{collection, token, {}, {}, {}};
                               delta.collection.ctag = server.ctag;
                               if (error.isError()) {
                                   done(error, delta);
                                   return;
                               }
                               addUnlisted(delta, listed);
                               QHash<QString, QString> etags; // path -> ETag of what we hold there
                               for (const MirrorStore::Item& held : m_store.itemsIn(collection.url))
                                   etags.insert(pathKey(held.href), held.etag);
                               for (const CalendarItem& item : listed) {
                                   const auto held = etags.constFind(pathKey(item.url));
                                   if (held == etags.cend() || *held != item.etag)
                                       delta.changed.append(item);
                               }
                               fillTexts(delta, done);
                           });
    };
    const auto fullListing = [this, self, collection, done, listWith](bool withData) {
        m_client.readToken(collection.url, [self, collection, done, listWith, withData](
                                               const CalDavError& error, const QString& token) {
            if (!self)
                return;
            if (error.isError()) {
                done(error, Delta{collection, {}, {}, {}, {}});
                return;
            }
            listWith(withData, token);
        });
    };
    // A first import takes every text in that one listing (a sync-collection from nothing
    // costs Radicale several times as long); a collection we already hold lists ETags only
    // and fetches what changed.
    if (collection.syncToken.isEmpty()) {
        fullListing(m_store.itemsIn(collection.url).isEmpty());
        return;
    }
    m_client.syncCollection(collection.url, collection.syncToken,
                            [this, self, collection, server, done,
                             fullListing](const CalDavError& error, const SyncDelta& sync) {
                                if (!self)
                                    return;
                                if (error.kind == CalDavError::Kind::tokenRefused) {
                                    fullListing(false);
                                    return;
                                }
                                Delta delta{collection, sync.token, sync.changed, sync.removed, {}};
                                delta.collection.ctag = server.ctag;
                                if (error.isError()) {
                                    done(error, delta);
                                    return;
                                }
                                addUnmentioned(delta);
                                fillTexts(delta, done);
                            });
}

void CalDavMirror::addUnlisted(Delta& delta, const QList<CalendarItem>& listed) const {
    const QList<MirrorStore::Item> known = m_store.itemsIn(delta.collection.url);
    // A server that suddenly lists nothing is not believed: the board stays.
    if (listed.isEmpty()) {
        if (!known.isEmpty())
            qCWarning(lcSync) << delta.collection.url.path() << "lists nothing; nothing is deleted";
        return;
    }
    QSet<QString> there;
    for (const CalendarItem& item : listed)
        there.insert(pathKey(item.url));
    for (const MirrorStore::Item& item : known) {
        if (!there.contains(pathKey(item.href)))
            delta.removed.append(item.href);
    }
}

void CalDavMirror::noteMade(const QUrl& collection, const QUrl& href) {
    // Without a token the next import lists the collection whole anyway (a first upload).
    const QList<MirrorStore::Collection> all = m_store.collections();
    if (std::none_of(all.cbegin(), all.cend(), [&](const MirrorStore::Collection& c) {
            return sameUrl(c.url, collection) && !c.syncToken.isEmpty();
        }))
        return;
    const QString key = madeKey + pathKey(collection);
    const QString made = m_store.value(key);
    m_store.setValue(key, made + (made.isEmpty() ? QString() : QStringLiteral("\n")) +
                              href.toString(QUrl::FullyEncoded));
}

void CalDavMirror::addUnmentioned(Delta& delta) const {
    // An item made after the token did not exist then: a delta that does not name it means
    // it was deleted since (Xandikos compares two snapshots and names it nowhere).
    QSet<QString> named;
    for (const CalendarItem& item : std::as_const(delta.changed))
        named.insert(pathKey(item.url));
    for (const QUrl& href : std::as_const(delta.removed))
        named.insert(pathKey(href));
    const QString made = m_store.value(madeKey + pathKey(delta.collection.url));
    for (const QString& text : made.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QUrl href(text);
        if (!named.contains(pathKey(href)) && m_store.itemAt(href))
            delta.removed.append(href);
    }
}

void CalDavMirror::fillTexts(const Delta& listed,
                             const std::function<void(const CalDavError&, const Delta&)>& done) {
    Delta delta = listed;
    QList<qsizetype> missing;
    for (qsizetype i = 0; i < delta.changed.size(); ++i) {
        CalendarItem& item = delta.changed[i];
        if (!item.data.isEmpty())
            continue;
        // Our own write coming back: its text is the one we keep, no GET needed (Xandikos
        // sends no text with a delta, and each GET is one more request to fail the import).
        const auto binding = m_store.itemAt(item.url);
        if (binding && binding->etag == item.etag && !binding->serverText.isEmpty())
            item.data = binding->serverText;
        else
            missing.append(i);
    }
    if (missing.isEmpty()) {
        done({}, delta);
        return;
    }
    QPointer<CalDavMirror> self(this);
    // A few texts: one GET each. Many: one calendar-query brings them all (multiget is slow
    // on Xandikos, and a GET per item costs a round trip each).
    constexpr qsizetype fewTexts = 8;
    if (missing.size() <= fewTexts) {
        auto filled = std::make_shared<Delta>(delta);
        auto left = std::make_shared<qsizetype>(missing.size());
        auto failure = std::make_shared<CalDavError>();
        for (const qsizetype i : std::as_const(missing)) {
            m_client.fetchItem(
                delta.changed.at(i).url, [=](const CalDavError& error, const CalendarItem& item) {
                    if (!self)
                        return;
                    // Gone since it was listed: skipped, and its removal comes with the next delta.
                    if (!error.isError())
                        filled->changed[i] = {filled->changed.at(i).url, item.etag, item.data};
                    else if (error.kind != CalDavError::Kind::notFound && !failure->isError())
                        *failure = error;
                    if (--*left == 0)
                        done(*failure, *filled);
                });
        }
        return;
    }
    m_client.listItems(
        delta.collection.url, true,
        [self, delta, done](const CalDavError& error, const QList<CalendarItem>& items) {
            if (!self)
                return;
            QHash<QString, CalendarItem> byPath;
            for (const CalendarItem& item : items)
                byPath.insert(pathKey(item.url), item);
            Delta filled = delta;
            for (CalendarItem& changed : filled.changed) {
                if (changed.data.isEmpty())
                    changed = byPath.value(pathKey(changed.url), changed);
            }
            done(error, filled);
        });
}

QList<CalDavMirror::Decoded> CalDavMirror::decodeAll(const QList<CalendarItem>& items) {
    QList<Decoded> decoded(items.size());
    for (qsizetype i = 0; i < items.size(); ++i) {
        Decoded& out = decoded[i];
        out.ok = VtodoCodec::decode(items.at(i).data, &out.fields, &out.why);
    }
    return decoded;
}

void CalDavMirror::applyDeltas() {
    m_applying = std::make_unique<Applying>();
    for (const Delta& delta : std::as_const(m_deltas)) {
        for (const QUrl& href : delta.removed)
            m_applying->removed.insert(pathKey(href));
    }
    m_applying->known = m_store.allItems();
    m_strays.clear();
    m_relist.clear();
    applySlice();
}

bool CalDavMirror::beginSlice() {
    // Board changes made before or between slices are saved recorded first, so the import's
    // unrecorded save cannot swallow them and the export sends them.
    if (!saveBoard(true)) {
        m_applying.reset();
        return false;
    }
    QHash<QUuid, bool>& pending = m_applying->pending;
    pending.clear();
    for (const RecordChange& change : m_context.pendingChanges()) {
        if (change.kind == RecordChange::Kind::task)
            pending.insert(change.id, change.deleted);
    }
    return true;
}

void CalDavMirror::applySlice() {
    if (!beginSlice())
        return;
    Applying& state = *m_applying;
    // The board keeps drawing between slices; no change of the import is left unsaved across
    // one, so a save the board makes meanwhile records only the user's own.
    QElapsedTimer slice;
    slice.start();
    // Saving an item and its binding costs more than applying it: the count bounds a slice,
    // the clock bounds it where applying is slow (a board on screen).
    qsizetype count = 0;
    qsizetype categoryOf = -1; // the delta whose list `category` is
    TaskCategory* category = nullptr;
    while (state.delta < m_deltas.size() && count < m_sliceItems && slice.elapsed() < sliceMs) {
        const Delta& delta = m_deltas.at(state.delta);
        if (state.item >= delta.changed.size()) {
            ++state.delta;
            state.item = 0;
            continue;
        }
        // Looked up per slice: the user may have deleted the list in between.
        if (categoryOf != state.delta) {
            category = categoryFor(delta.collection.url);
            categoryOf = state.delta;
        }
        applyItem(delta, category, delta.changed.at(state.item), delta.decoded.at(state.item),
                  state);
        ++state.item;
        ++count;
    }
    if (!saveBoard(false)) {
        m_applying.reset();
        return;
    }
    // The slice's bindings go with it, so that an import cut short between slices leaves no
    // task on the board that the next one takes for new. The tokens wait for the last slice.
    m_store.begin();
    m_store.putItems(state.unstored);
    if (!m_store.commit()) {
        m_applying.reset();
        finish(CalDavError::protocol(0, QStringLiteral("the mirror state could not be saved")));
        return;
    }
    state.unstored.clear();
    if (state.delta < m_deltas.size()) {
        // A timer rather than a posted call: due timers (the board's frames) run before it,
        // where a chain of posted calls let them in only every other turn.
        QTimer::singleShot(1, this, &CalDavMirror::applySlice);
        return;
    }
    applyRemovals();
}

void CalDavMirror::applyRemovals() {
    if (!beginSlice())
        return;
    const std::unique_ptr<Applying> applying = std::move(m_applying);
    const QHash<QUuid, bool>& pending = applying->pending;
    const QHash<QUuid, MirrorStore::Item>& bound = applying->bound;
    QList<QUuid> unbound;
    // Removals after every change, so a task that moved between collections is not lost.
    for (const Delta& delta : std::as_const(m_deltas)) {
        for (const QUrl& href : delta.removed) {
            const auto binding = m_store.itemAt(href);
            // Radicale's first sync lists long-deleted items: unknown hrefs are ignored.
            if (!binding || !sameUrl(binding->collection, delta.collection.url))
                continue;
            if (bound.contains(binding->id))
                continue;
            unbound.append(binding->id);
            TaskItem* task = m_context.task(binding->id);
            // An edit made here outlives a delete made there: the export puts it back.
            if (task && !pending.contains(task->id()))
                m_context.remove(task);
        }
    }

    // Tasks of a collection deleted on the server go with it, unless they turned up in
    // another collection (moved there) or were changed here (they stay, without a list).
    for (const MirrorStore::Collection& collection : std::as_const(m_vanished)) {
        for (const MirrorStore::Item& item : m_store.itemsIn(collection.url)) {
            if (bound.contains(item.id))
                continue;
            unbound.append(item.id);
            TaskItem* task = m_context.task(item.id);
            if (task && !pending.contains(item.id))
                m_context.remove(task);
        }
        if (TaskCategory* category = categoryFor(collection.url))
            m_context.remove(category);
    }

    if (!saveBoard(false))
        return;
    // Only now that every item is on disk do the tokens move on.
    m_store.begin();
    for (const MirrorStore::Collection& collection : std::as_const(m_vanished)) {
        // The default collection was made anew at the same place by setup: it stays.
        if (collection.categoryId)
            m_store.removeCollection(collection.url);
    }
    for (const QUuid& id : std::as_const(unbound))
        m_store.removeItem(id);
    for (const Delta& delta : std::as_const(m_deltas)) {
        MirrorStore::Collection collection = delta.collection;
        collection.syncToken =
            m_relist.contains(pathKey(collection.url)) ? QString() : delta.newToken;
        m_store.putCollection(collection);
        m_store.setValue(madeKey + pathKey(collection.url), {});
    }
    if (!m_store.commit()) {
        finish(CalDavError::protocol(0, QStringLiteral("the mirror state could not be saved")));
        return;
    }
    m_deltas.clear();
    removeStrays();
}

void CalDavMirror::removeStrays() {
    if (m_strays.isEmpty()) {
        end({});
        startExport();
        return;
    }
    const CalendarItem stray = m_strays.takeFirst();
    QPointer<CalDavMirror> self(this);
    // With If-Match: a copy changed there since is not ours to delete; it comes back.
    m_client.deleteItem(stray.url, stray.etag, [this, self, stray](const CalDavError& error) {
        if (!self)
            return;
        if (error.isError())
            qCInfo(lcSync) << "second copy" << stray.url.path() << "stays:" << error.detail;
        removeStrays();
    });
}

void CalDavMirror::applyItem(const Delta& delta, TaskCategory* category, const CalendarItem& item,
                             const Decoded& decoded, Applying& state) {
    const QHash<QUuid, bool>& pending = state.pending;
    QHash<QUuid, MirrorStore::Item>& bound = state.bound;
    if (item.data.isEmpty() || !decoded.ok) {
        qCWarning(lcSync) << "skipped" << item.url.path() << decoded.why;
        return;
    }
    TaskFields server = decoded.fields;
    QString why;
    // Deleted here and not yet sent: the export's DELETE decides (a copy changed there
    // meanwhile refuses it with 412 and comes back with the next full listing). A copy at
    // another href (moved there, or a second copy) is not the one the DELETE goes to: its
    // collection is listed whole next time, so that it comes back unless it went too. With
    // nothing of ours to delete (a DELETE refused before, whose change is still in the log),
    // the server's copy comes back at once, as for any task new here.
    const auto stored = state.known.constFind(server.id);
    const auto known = stored != state.known.cend() ? std::optional(*stored) : std::nullopt;
    // Where the task lives as far as we know: bound earlier in this import, or before.
    const auto found = bound.constFind(server.id);
    const auto binding = found != bound.cend() ? std::optional(*found) : known;
    // Bound by an earlier slice and deleted on the board since: as good as known.
    const bool deletedSince = found != bound.cend() && !m_context.task(server.id);
    if (pending.value(server.id, false) && (known || deletedSince)) {
        if (!sameUrl((deletedSince ? binding : known)->href, item.url))
            m_relist.insert(pathKey(delta.collection.url));
        return;
    }
    // Our own write coming back: nothing new.
    if (binding && sameUrl(binding->href, item.url) && binding->etag == item.etag)
        return;
    if (binding && !sameUrl(binding->href, item.url) &&
        !state.removed.contains(pathKey(binding->href)) && !isVanished(binding->collection)) {
        // One UID at two hrefs (a move whose DELETE was lost, a create retried under another
        // name, another client's copy): one task. The newer copy stays, the other one goes
        // from the server; a task changed here keeps the copy its export writes to.
        TaskFields ours;
        const bool keepKnown =
            pending.contains(server.id) || (VtodoCodec::decode(binding->serverText, &ours, &why) &&
                                            !(server.updatedAt > ours.updatedAt));
        if (keepKnown) {
            m_strays.append(item);
            return;
        }
        m_strays.append({binding->href, binding->etag, {}});
    }
    TaskItem* task = m_context.task(server.id);
    if (!task) {
        task =
            new TaskItem(server.id, server.createdAt.isValid() ? server.createdAt : m_clock.now());
        server.applyTo(*task);
        task->setCategory(category);
        m_context.insert(task);
    } else {
        TaskFields fields = server;
        if (pending.contains(task->id())) {
            // Changed here too: merge. Without a text of our own to compare against, the
            // server's copy is the base, so what changed here wins.
            TaskFields base = server;
            if (binding && !VtodoCodec::decode(binding->serverText, &base, &why))
                base = server;
            fields = TaskMerge::merge(base, TaskFields::fromTask(*task), server);
        }
        fields.applyTo(*task);
        if (!pending.contains(task->id()))
            task->setCategory(category);
    }
    const MirrorStore::Item placed{server.id, delta.collection.url, item.url, item.etag, item.data};
    bound.insert(server.id, placed);
    state.unstored.append(placed);
}

// --- export --------------------------------------------------------------------------------

void CalDavMirror::startExport() {
    m_deltas.clear();
    m_changes = m_context.pendingChanges();
    m_changeIndex = 0;
    m_inFlight = 0;
    m_listInFlight = false;
    m_through = QList<bool>(m_changes.size(), false);
    m_settledCount = 0;
    m_acknowledgeUpTo = 0;
    m_acknowledgedCount = 0;
    // A long upload that was cut short carries on where it got to, and says so.
    m_progressBase = m_store.value(uploadDoneKey).toLongLong();
    m_blocked = false;
    m_exportError = {};
    begin(MirrorEvent::Type::exportChanges);
    emit progress(m_progressBase, m_progressBase + m_changes.size());
    exportNext();
}

void CalDavMirror::exportNext() {
    // A change that settles at once calls back in here; the loop below carries on for it.
    if (m_launching)
        return;
    m_launching = true;
    while (m_changeIndex < m_changes.size() && m_inFlight < maxWritesInFlight && !m_listInFlight) {
        const qsizetype position = m_changeIndex;
        const RecordChange change = m_changes.at(position);
        // A list's change goes alone: removing its collection looks at which of its tasks
        // are still on their way.
        const bool list = change.kind == RecordChange::Kind::category;
        if (list && m_inFlight > 0)
            break;
        ++m_changeIndex;
        ++m_inFlight;
        m_listInFlight = list;
        QPointer<CalDavMirror> self(this);
        const auto settled = [this, self, position](const CalDavError& error) {
            if (!self)
                return;
            --m_inFlight;
            m_listInFlight = false;
            settle(position, error);
            exportNext();
        };
        if (list)
            exportCategory(change, settled);
        else
            exportTask(change, settled);
    }
    m_launching = false;
    if (m_inFlight > 0 || m_changeIndex < m_changes.size())
        return;
    acknowledge();
    if (!m_blocked)
        m_store.setValue(uploadDoneKey, {});
    finish(m_exportError);
}

void CalDavMirror::settle(qsizetype position, const CalDavError& error) {
    ++m_settledCount;
    emit progress(m_progressBase + m_settledCount, m_progressBase + m_changes.size());
    if (error.isError()) {
        m_blocked = true;
        if (!m_exportError.isError())
            m_exportError = error;
        if (stopsExport(error))
            m_changeIndex = m_changes.size();
        return;
    }
    // Writes finish out of order; the log is acknowledged only up to the first change not yet
    // through, so a quit or a failure resends from there and skips nothing.
    m_through[position] = true;
    const qsizetype before = m_acknowledgedCount;
    while (m_acknowledgedCount < m_changes.size() && m_through.at(m_acknowledgedCount))
        m_acknowledgeUpTo = m_changes.at(m_acknowledgedCount++).seq;
    if (m_acknowledgedCount / acknowledgeEvery != before / acknowledgeEvery)
        acknowledge();
}

void CalDavMirror::acknowledge() {
    if (m_acknowledgeUpTo <= 0)
        return;
    m_context.acknowledgeChanges(m_acknowledgeUpTo);
    m_store.setValue(uploadDoneKey, QString::number(m_progressBase + m_acknowledgedCount));
}

void CalDavMirror::exportCategory(const RecordChange& change,
                                  const std::function<void(const CalDavError&)>& done) {
    // A new list reaches the server through setup; here a changed one is PROPPATCHed and a
    // deleted one leaves with its collection.
    TaskCategory* category = m_context.category(change.id);
    const QUrl url = collectionOf(change.id);
    if (!url.isValid()) {
        done({});
        return;
    }
    if (category)
        m_client.updateCollection(serverForm(*category, url), done);
    else
        removeCollection(url, done);
}

void CalDavMirror::removeCollection(const QUrl& url,
                                    const std::function<void(const CalDavError&)>& done) {
    QPointer<CalDavMirror> self(this);
    m_client.listItems(
        url, false, [=, this](const CalDavError& error, const QList<CalendarItem>& items) {
            if (!self)
                return;
            if (error.kind == CalDavError::Kind::notFound) {
                m_store.removeCollection(url);
                done({});
                return;
            }
            if (error.isError()) {
                done(error);
                return;
            }
            QSet<QUuid> pending;
            for (const RecordChange& change : m_context.pendingChanges())
                pending.insert(change.id);
            bool foreign = false; // a task there that did not leave with the list here
            for (const CalendarItem& item : items) {
                const auto binding = m_store.itemAt(item.url);
                if (binding && sameUrl(binding->collection, url) && pending.contains(binding->id)) {
                    // A task of the list has not reached its new collection yet: later.
                    CalDavError waiting =
                        CalDavError::protocol(0, QStringLiteral("list not empty"));
                    waiting.kind = CalDavError::Kind::conflict;
                    done(waiting);
                    return;
                }
                foreign = foreign || !binding || sameUrl(binding->collection, url);
            }
            if (foreign) {
                // Tasks put there by another client since: the collection stays, and comes back
                // as a list with them rather than taking them along.
                qCInfo(lcSync) << url.path() << "holds other clients' tasks; kept";
                m_store.removeCollection(url);
                done({});
                return;
            }
            m_client.deleteItem(url, {}, [=, this](const CalDavError& removed) {
                if (!self)
                    return;
                if (removed.isError() && removed.kind != CalDavError::Kind::notFound) {
                    done(removed);
                    return;
                }
                m_store.removeCollection(url);
                done({});
            });
        });
}

void CalDavMirror::exportTask(const RecordChange& change,
                              const std::function<void(const CalDavError&)>& done) {
    // A task deleted here and back from the server since is written, not deleted.
    TaskItem* task = m_context.task(change.id);
    const auto binding = m_store.item(change.id);
    QPointer<CalDavMirror> self(this);
    if (!task) {
        if (!binding) {
            done({});
            return;
        }
        m_client.deleteItem(binding->href, binding->etag,
                            [this, self, binding, done](const CalDavError& error) {
                                if (!self)
                                    return;
                                // Gone already, or changed there since: either way this href is no
                                // longer ours to hold. (A task edited elsewhere comes back with the
                                // next import.)
                                if (!error.isError() || error.kind == CalDavError::Kind::notFound ||
                                    error.kind == CalDavError::Kind::conflict) {
                                    m_store.removeItem(binding->id);
                                    if (error.kind == CalDavError::Kind::conflict)
                                        forgetToken(binding->collection);
                                    done({});
                                    return;
                                }
                                done(error);
                            });
        return;
    }
    const QUrl target = collectionFor(task->category());
    if (!target.isValid()) {
        done(CalDavError::protocol(0, QStringLiteral("no collection for the task's list")));
        return;
    }
    if (binding && sameUrl(binding->collection, target)) {
        upload(task, target, binding->href, binding->serverText, binding->etag, 0, done);
        return;
    }
    // New here, or moved to another list: a new href in the target, the same UID.
    const QUrl href = target.resolved(QUrl(idText(task->id()) + QStringLiteral(".ics")));
    const QByteArray base = binding ? binding->serverText : QByteArray();
    upload(task, target, href, base, {}, 0, [this, self, binding, done](const CalDavError& error) {
        if (!self)
            return;
        if (error.isError() || !binding) {
            done(error);
            return;
        }
        m_client.deleteItem(
            binding->href, binding->etag, [this, self, binding, done](const CalDavError& removed) {
                if (!self)
                    return;
                // A copy left behind (changed there, or no answer) would sit
                // unseen under the token: list that collection whole next
                // time, and the import folds the two hrefs into one task.
                if (removed.isError() && removed.kind != CalDavError::Kind::notFound)
                    forgetToken(binding->collection);
                done({});
            });
    });
}

void CalDavMirror::upload(TaskItem* task, const QUrl& collection, const QUrl& href,
                          const QByteArray& base, const QString& etag, int attempt,
                          const std::function<void(const CalDavError&)>& done) {
    const TaskFields fields = TaskFields::fromTask(*task);
    const QByteArray text = VtodoCodec::encode(fields, base, m_clock.now());
    QPointer<CalDavMirror> self(this);
    QPointer<TaskItem> guard(task);
    m_client.putItem(href, text, etag, [=, this](const CalDavError& error, const QString& newEtag) {
        if (!self)
            return;
        if (!error.isError()) {
            m_store.putItem({fields.id, collection, href, newEtag, text});
            if (etag.isEmpty())
                noteMade(collection, href);
            if (!newEtag.isEmpty()) {
                done({});
                return;
            }
            // No ETag in the answer: read it, or the next write could not say If-Match.
            m_client.fetchItem(
                href, [=, this](const CalDavError& fetchError, const CalendarItem& item) {
                    if (!self)
                        return;
                    if (!fetchError.isError())
                        m_store.putItem({fields.id, collection, href, item.etag, item.data});
                    done(fetchError);
                });
            return;
        }
        if (!guard || guard->isDeleted()) {
            done({});
            return;
        }
        const bool retriedCreate = etag.isEmpty() && (error.kind == CalDavError::Kind::conflict ||
                                                      error.kind == CalDavError::Kind::rejected);
        if ((error.kind == CalDavError::Kind::conflict || retriedCreate) &&
            attempt < maxConflictRetries) {
            resolveConflict(guard, collection, href, base, attempt + 1, done);
            return;
        }
        done(error);
    });
}

void CalDavMirror::resolveConflict(TaskItem* task, const QUrl& collection, const QUrl& href,
                                   const QByteArray& base, int attempt,
                                   const std::function<void(const CalDavError&)>& done) {
    QPointer<CalDavMirror> self(this);
    QPointer<TaskItem> guard(task);
    const QUuid id = task->id();
    const auto merge = [=, this](const CalendarItem& item) {
        if (!guard) {
            done({});
            return;
        }
        TaskFields server, baseFields;
        QString why;
        if (!VtodoCodec::decode(item.data, &server, &why) || server.id != id) {
            done(CalDavError::protocol(
                412, QStringLiteral("the server's copy cannot be read: %1").arg(why)));
            return;
        }
        // With no text of our own to compare against (a create retried after its answer was
        // lost), the server's copy is the base: our fields win where they differ.
        if (base.isEmpty() || !VtodoCodec::decode(base, &baseFields, &why))
            baseFields = server;
        const TaskFields merged =
            TaskMerge::merge(baseFields, TaskFields::fromTask(*guard), server);
        merged.applyTo(*guard);
        upload(guard, collection, item.url, item.data, item.etag, attempt, done);
    };
    m_client.fetchItem(href, [=, this](const CalDavError& error, const CalendarItem& item) {
        if (!self)
            return;
        if (!error.isError()) {
            merge(item);
            return;
        }
        if (error.kind != CalDavError::Kind::notFound) {
            done(error);
            return;
        }
        // Not at our href: the UID lives under another name in this collection (a create
        // retried, or another client's file name). Find it rather than store a duplicate.
        m_client.listItems(
            collection, true,
            [=, this](const CalDavError& listError, const QList<CalendarItem>& items) {
                if (!self)
                    return;
                for (const CalendarItem& candidate : items) {
                    TaskFields found;
                    QString ignored;
                    if (VtodoCodec::decode(candidate.data, &found, &ignored) && found.id == id) {
                        merge(candidate);
                        return;
                    }
                }
                if (listError.isError()) {
                    done(listError);
                    return;
                }
                // Deleted there since we read it: an edit made here outlives that delete,
                // so the task is made again, as new.
                if (!guard) {
                    done({});
                    return;
                }
                m_store.removeItem(id);
                upload(guard, collection, href, {}, {}, attempt, done);
            });
    });
}

bool CalDavMirror::isVanished(const QUrl& collection) const {
    return std::any_of(
        m_vanished.cbegin(), m_vanished.cend(),
        [&](const MirrorStore::Collection& c) { return sameUrl(c.url, collection); });
}

void CalDavMirror::forgetToken(const QUrl& collection) {
    for (MirrorStore::Collection c : m_store.collections()) {
        if (sameUrl(c.url, collection)) {
            c.syncToken.clear();
            m_store.putCollection(c);
        }
    }
}

QUrl CalDavMirror::collectionFor(const TaskCategory* category) const {
    return collectionOf(category ? std::optional(category->id()) : std::nullopt);
}

QUrl CalDavMirror::collectionOf(const std::optional<QUuid>& wanted) const {
    for (const MirrorStore::Collection& collection : m_store.collections()) {
        if (collection.categoryId == wanted)
            return collection.url;
    }
    return {};
}

TaskCategory* CalDavMirror::categoryFor(const QUrl& url) const {
    for (const MirrorStore::Collection& collection : m_store.collections()) {
        if (sameUrl(collection.url, url))
            return collection.categoryId ? m_context.category(*collection.categoryId) : nullptr;
    }
    return nullptr;
}
