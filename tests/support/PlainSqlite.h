#pragma once
// The database as another program sees it, which does not have the engine's functions and collations.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sqlite3.h>

#include <stdexcept>

class PlainSqlite {
public:
    explicit PlainSqlite(const QString& fileName) {
        if (sqlite3_open(fileName.toUtf8().constData(), &FConnection) != SQLITE_OK)
            throw std::runtime_error("cannot open " + fileName.toStdString());
        sqlite3_busy_timeout(FConnection, 10000);
    }
    ~PlainSqlite() { sqlite3_close(FConnection); }
    PlainSqlite(const PlainSqlite&) = delete;
    PlainSqlite& operator=(const PlainSqlite&) = delete;

    void Run(const QByteArray& sql) { Rows(sql); }
    /// One text per row: its values joined by "|".
    QStringList Rows(const QByteArray& sql) {
        QStringList rows;
        const auto add = [](void* list, int count, char** values, char**) {
            QStringList row;
            for (int i = 0; i < count; ++i) row += values[i] ? QString::fromUtf8(values[i]) : QStringLiteral("NULL");
            static_cast<QStringList*>(list)->append(row.join(u'|'));
            return 0;
        };
        if (sqlite3_exec(FConnection, sql.constData(), add, &rows, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(FConnection));
        return rows;
    }

    /// Changes whenever another connection has written.
    QString DataVersion() { return Rows("PRAGMA data_version").value(0); }

private:
    sqlite3* FConnection = nullptr;
};

/// The first layout of the episodes, in which the identifier was called ID and there were neither URI nor Format.
inline constexpr char kFirstLayout[] =
    "CREATE TABLE PodcastEpisodes (FeedID INTEGER, ID TEXT, Title TEXT, Description TEXT, Artist TEXT, URL TEXT, "
    "URLAudio TEXT, URLAudioCached TEXT, PublishDate DOUBLE, Duration DOUBLE, State INTEGER);";
