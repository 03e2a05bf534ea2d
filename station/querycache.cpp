#include "station/querycache.h"

#include <QSqlError>
#include <QSqlQuery>

namespace {

// Statements are few and fixed, but a statement made from data would grow the cache for ever.
constexpr int MostStatements = 256;

} // namespace

QueryCache::QueryCache(const QString &connectionName) : connection(connectionName) { }

QueryCache::~QueryCache() = default;

QSqlQuery *QueryCache::prepared(const QString &sql, QString *error)
{
    const auto found = queries.constFind(sql);
    if (found != queries.cend())
        return found->get();
    if (queries.size() >= MostStatements)
        queries.clear();
    auto query = std::make_shared<QSqlQuery>(database());
    if (!query->prepare(sql)) {
        *error = query->lastError().text().trimmed();
        return nullptr;
    }
    queries.insert(sql, query);
    return query.get();
}

QSqlQuery *QueryCache::exec(
    const QString &sql, const QVariantList &values, const QString &what, QString *error)
{
    QString reason;
    QSqlQuery *query = prepared(sql, &reason);
    if (query) {
        for (const QVariant &value : values)
            query->addBindValue(value);
        if (query->exec())
            return query;
        reason = query->lastError().text().trimmed();
    }
    *error = what + QStringLiteral(": ") + reason;
    return nullptr;
}

void QueryCache::clear()
{
    queries.clear();
}
