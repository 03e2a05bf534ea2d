// The prepared statements of one database connection, kept while it is open: a batch's dozen
// statements are parsed (in PostgreSQL: prepared on the server) once per connection, not once per
// batch, which is most of what a small batch costs beyond its INSERTs.
#pragma once

#include <QHash>
#include <QSqlDatabase>
#include <QString>
#include <QVariant>

#include <memory>

class QSqlQuery;

class QueryCache {
public:
    explicit QueryCache(const QString &connectionName);
    ~QueryCache();
    QueryCache(const QueryCache &) = delete;
    QueryCache &operator=(const QueryCache &) = delete;

    QSqlDatabase database() const { return QSqlDatabase::database(connection, false); }

    // SQL prepared on its first use; nullptr with the reason in *error when it cannot be. A SELECT
    // must be finish()ed once read, so that SQLite lets its transaction end.
    QSqlQuery *prepared(const QString &sql, QString *error);
    // Runs SQL with VALUES bound in order: the query, to read its rows, or nullptr with
    // "WHAT: reason" in *error.
    QSqlQuery *exec(
        const QString &sql, const QVariantList &values, const QString &what, QString *error);

    // Forgets every statement: before the connection is closed.
    void clear();

private:
    QString connection;
    QHash<QString, std::shared_ptr<QSqlQuery>> queries;
};
