#include "Podcasts.Plugin.Dialogs.Find.Model.h"

#include "VEXA.Runtime.Dates.h"
#include "apiWrappers.h"

#include <QDateTime>
#include <QLocale>
#include <QStringList>

namespace podcasts {

using namespace vexa;

void TPodcastFindModel::Clear() {
    if (FEntries.empty()) return;
    beginResetModel();
    FEntries.clear();
    FRows.clear();
    FOfPictures.clear();
    endResetModel();
}

void TPodcastFindModel::Put(TPodcastFindEntry entry) {
    const auto known = FRows.constFind(entry.Address);
    const int row = known == FRows.constEnd() ? rowCount() : *known;
    if (!entry.Picture.isEmpty() && !FOfPictures.contains(entry.Picture, row)) FOfPictures.insert(entry.Picture, row);
    if (row < rowCount()) {
        FEntries[static_cast<std::size_t>(row)] = std::move(entry);
        Q_EMIT dataChanged(index(row), index(row));
        return;
    }
    beginInsertRows({}, row, row);
    FRows.insert(entry.Address, row);
    FEntries.push_back(std::move(entry));
    endInsertRows();
}

void TPodcastFindModel::MarkSubscribed(const QString& address) {
    const auto row = FRows.constFind(address);
    if (row == FRows.constEnd()) return;
    FEntries[static_cast<std::size_t>(*row)].IsSubscribed = true;
    Q_EMIT dataChanged(index(*row), index(*row));
}

void TPodcastFindModel::PictureArrived(const QString& address) {
    for (const int row : FOfPictures.values(address)) Q_EMIT dataChanged(index(row), index(row), {Qt::DecorationRole});
}

int TPodcastFindModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(FEntries.size());
}

QVariant TPodcastFindModel::data(const QModelIndex& at, int role) const {
    if (!at.isValid()) return {};
    const TPodcastFindEntry& entry = At(at.row());
    switch (role) {
        case Qt::DisplayRole:
            return entry.Title;
        case Qt::AccessibleTextRole: {
            QStringList all{entry.Title, Facts(entry), entry.Description};
            if (entry.IsSubscribed) all.insert(1, LocalizedText(QStringLiteral("Podcasts.Find\\Subscribed")));
            all.removeAll(QString());
            return all.join(QStringLiteral(". "));
        }
        default:
            return {};
    }
}

QString TPodcastFindModel::Facts(const TPodcastFindEntry& entry) {
    const auto fact = [](const char* key, const QString& value) {
        return FormatText(LocalizedText(u"Podcasts.Find\\" + QLatin1String(key)), value);
    };
    QStringList facts;
    if (!entry.Author.isEmpty()) facts += entry.Author;
    if (entry.Episodes > 0) facts += fact("Episodes", QLocale().toString(static_cast<qlonglong>(entry.Episodes)));
    if (const QDateTime date = entry.Newest != 0 ? FromOleDate(entry.Newest) : QDateTime(); date.isValid())
        facts += fact("Newest", QLocale().toString(date.toLocalTime().date(), QLocale::ShortFormat));
    return facts.join(QStringLiteral(" · "));
}

}  // namespace podcasts
