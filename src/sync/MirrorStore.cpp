#include "MirrorStore.h"

#include "ModelContext.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

const char* const schema[] = {
    "CREATE TABLE IF NOT EXISTS mirror_items ("
    " record_id TEXT PRIMARY KEY NOT NULL,"
    " collection TEXT NOT NULL,"
    " href TEXT NOT NULL UNIQUE,"
    " etag TEXT NOT NULL,"
    " server_text BLOB NOT NULL)",
    "CREATE TABLE IF NOT EXISTS mirror_collections ("
    " url TEXT PRIMARY KEY NOT NULL,"
    " category_id TEXT,"
    " sync_token TEXT NOT NULL DEFAULT '',"
    " ctag TEXT NOT NULL DEFAULT '')",
    "CREATE TABLE IF NOT EXISTS mirror_values ("
    " key TEXT PRIMARY KEY NOT NULL,"
    " value TEXT NOT NULL)",
};

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces);
}

QString urlText(const QUrl& url) {
    return url.toString(QUrl::FullyEncoded);
}

MirrorStore::Item itemFrom(const QSqlQuery& query) {
    return {QUuid::fromString(query.value(0).toString()),
            QUrl::fromEncoded(query.value(1).toByteArray()),
            QUrl::fromEncoded(query.value(2).toByteArray()), query.value(3).toString(),
            query.value(4).toByteArray()};
}

const QString itemColumns = QStringLiteral("record_id, collection, href, etag, server_text");

} // namespace

bool MirrorStore::open(const ModelContext& context, QString* error) {
    m_db = QSqlDatabase::database(context.connectionName());
    for (const char* statement : schema) {
        QSqlQuery query(m_db);
        if (!query.exec(QString::fromLatin1(statement))) {
            *error = query.lastError().text();
            return false;
        }
    }
    return true;
}

std::optional<MirrorStore::Item> MirrorStore::item(const QUuid& id) const {
    QSqlQuery query(m_db);
    query.prepare(
        QStringLiteral("SELECT %1 FROM mirror_items WHERE record_id = ?").arg(itemColumns));
    query.addBindValue(idText(id));
    if (query.exec() && query.next())
        return itemFrom(query);
    return std::nullopt;
}

QHash<QUuid, MirrorStore::Item> MirrorStore::allItems() const {
    QHash<QUuid, Item> items;
    QSqlQuery query(m_db);
    if (query.exec(QStringLiteral("SELECT %1 FROM mirror_items").arg(itemColumns))) {
        while (query.next()) {
            Item item = itemFrom(query);
            items.insert(item.id, item);
        }
    }
    return items;
}

std::optional<MirrorStore::Item> MirrorStore::itemAt(const QUrl& href) const {
    QSqlQuery query(m_db);
    query.prepare(QStringLiteral("SELECT %1 FROM mirror_items WHERE href = ?").arg(itemColumns));
    query.addBindValue(urlText(href));
    if (query.exec() && query.next())
        return itemFrom(query);
    return std::nullopt;
}

QList<MirrorStore::Item> MirrorStore::itemsIn(const QUrl& collection) const {
    QList<Item> items;
    QSqlQuery query(m_db);
    query.prepare(
        QStringLiteral("SELECT %1 FROM mirror_items WHERE collection = ?").arg(itemColumns));
    query.addBindValue(urlText(collection));
    if (query.exec()) {
        while (query.next())
            items.append(itemFrom(query));
    }
    return items;
}

QList<MirrorStore::Collection> MirrorStore::collections() const {
    QList<Collection> collections;
    QSqlQuery query(m_db);
    if (!query.exec(
            QStringLiteral("SELECT url, category_id, sync_token, ctag FROM mirror_collections")))
        return collections;
    while (query.next()) {
        Collection collection;
        collection.url = QUrl::fromEncoded(query.value(0).toByteArray());
        if (!query.value(1).isNull())
            collection.categoryId = QUuid::fromString(query.value(1).toString());
        collection.syncToken = query.value(2).toString();
        collection.ctag = query.value(3).toString();
        collections.append(collection);
    }
    return collections;
}

QString MirrorStore::value(const QString& key) const {
    QSqlQuery query(m_db);
    query.prepare(QStringLiteral("SELECT value FROM mirror_values WHERE key = ?"));
    query.addBindValue(key);
    return query.exec() && query.next() ? query.value(0).toString() : QString();
}

bool MirrorStore::begin() {
    return m_db.transaction();
}

bool MirrorStore::commit() {
    if (m_db.commit())
        return true;
    m_db.rollback();
    return false;
}

void MirrorStore::rollback() {
    m_db.rollback();
}

bool MirrorStore::putItem(const Item& item) {
    return putItems({item});
}

bool MirrorStore::putItems(const QList<Item>& items) {
    // One href holds one task: a task that moved takes its href with it.
    QSqlQuery clash(m_db);
    QSqlQuery query(m_db);
    // Prepared once: an import binds thousands.
    const QString remove =
        QStringLiteral("DELETE FROM mirror_items WHERE href = ? AND record_id <> ?");
    const QString insert =
        QStringLiteral("INSERT OR REPLACE INTO mirror_items (%1) VALUES (?, ?, ?, ?, ?)")
            .arg(itemColumns);
    if (!clash.prepare(remove) || !query.prepare(insert))
        return false;
    bool ok = true;
    for (const Item& item : items) {
        const QString id = idText(item.id);
        const QString href = urlText(item.href);
        clash.bindValue(0, href);
        clash.bindValue(1, id);
        query.bindValue(0, id);
        query.bindValue(1, urlText(item.collection));
        query.bindValue(2, href);
        query.bindValue(3, item.etag);
        query.bindValue(4, item.serverText);
        ok = clash.exec() && query.exec() && ok;
    }
    return ok;
}

bool MirrorStore::removeItem(const QUuid& id) {
    QSqlQuery query(m_db);
    query.prepare(QStringLiteral("DELETE FROM mirror_items WHERE record_id = ?"));
    query.addBindValue(idText(id));
    return query.exec();
}

bool MirrorStore::putCollection(const Collection& collection) {
    QSqlQuery query(m_db);
    query.prepare(QStringLiteral("INSERT OR REPLACE INTO mirror_collections (url, category_id,"
                                 " sync_token, ctag) VALUES (?, ?, ?, ?)"));
    query.addBindValue(urlText(collection.url));
    query.addBindValue(collection.categoryId ? QVariant(idText(*collection.categoryId))
                                             : QVariant(QMetaType(QMetaType::QString)));
    query.addBindValue(collection.syncToken);
    query.addBindValue(collection.ctag);
    return query.exec();
}

bool MirrorStore::removeCollection(const QUrl& url) {
    QSqlQuery items(m_db);
    items.prepare(QStringLiteral("DELETE FROM mirror_items WHERE collection = ?"));
    items.addBindValue(urlText(url));
    QSqlQuery query(m_db);
    query.prepare(QStringLiteral("DELETE FROM mirror_collections WHERE url = ?"));
    query.addBindValue(urlText(url));
    return items.exec() && query.exec();
}

bool MirrorStore::setValue(const QString& key, const QString& value) {
    QSqlQuery query(m_db);
    query.prepare(
        QStringLiteral("INSERT OR REPLACE INTO mirror_values (key, value) VALUES (?, ?)"));
    query.addBindValue(key);
    query.addBindValue(value.isNull() ? QStringLiteral("") : value);
    return query.exec();
}

bool MirrorStore::clear() {
    QSqlQuery query(m_db);
    return query.exec(QStringLiteral("DELETE FROM mirror_items")) &&
           query.exec(QStringLiteral("DELETE FROM mirror_collections")) &&
           query.exec(QStringLiteral("DELETE FROM mirror_values"));
}
