#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <optional>

class ModelContext;

// What the mirror knows of the server, kept in tables of its own in the store's file: each
// task's href, ETag and the server's last text (the base of every merge), each collection's
// list and tokens, and the account's calendar home. A board without an account never has
// these tables filled; the board itself never reads them.
class MirrorStore {
public:
    // Where one task lives on the server.
    struct Item {
        QUuid id;
        QUrl collection;
        QUrl href;
        QString etag;
        QByteArray serverText;
    };

    // One calendar collection and the list it stands for (none: the default collection).
    struct Collection {
        QUrl url;
        std::optional<QUuid> categoryId;
        QString syncToken; // the token of the last import whose every item was applied
        QString ctag;
    };

    // Creates the tables in the store's file when missing. False with `error` on failure.
    [[nodiscard]] bool open(const ModelContext& context, QString* error);

    [[nodiscard]] std::optional<Item> item(const QUuid& id) const;
    [[nodiscard]] std::optional<Item> itemAt(const QUrl& href) const;
    [[nodiscard]] QList<Item> itemsIn(const QUrl& collection) const;
    // Every item, by record id: one query for an import instead of one per item.
    [[nodiscard]] QHash<QUuid, Item> allItems() const;
    [[nodiscard]] QList<Collection> collections() const;
    [[nodiscard]] QString value(const QString& key) const;

    // Writes run in one transaction between begin() and commit(); a failed commit leaves
    // everything as it was before begin().
    bool begin();
    bool commit();
    void rollback();
    bool putItem(const Item& item);
    bool putItems(const QList<Item>& items);
    bool removeItem(const QUuid& id);
    bool putCollection(const Collection& collection);
    bool removeCollection(const QUrl& url);
    bool setValue(const QString& key, const QString& value);
    // Forgets the whole server side (another account): the board stays as it is.
    bool clear();

private:
    QSqlDatabase m_db;
};
