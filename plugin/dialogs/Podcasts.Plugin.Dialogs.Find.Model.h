#pragma once
// The podcasts that a search has found, as rows of a list. Main thread.

#include <QAbstractListModel>
#include <QHash>
#include <QString>

#include <cstdint>
#include <vector>

namespace podcasts {

/// All texts come from directories on the web: show them as plain text.
struct TPodcastFindEntry {
    QString Address, Title, Author, Description, Picture;
    std::int64_t Episodes = 0;  // 0: unknown
    double Newest = 0;          // an OLE Automation date in UTC; 0: unknown
    bool IsSubscribed = false;
};

class TPodcastFindModel final : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void Clear();
    /// Appends a podcast, or replaces the one with its address.
    void Put(TPodcastFindEntry entry);
    void MarkSubscribed(const QString& address);
    const TPodcastFindEntry& At(int row) const { return FEntries[static_cast<std::size_t>(row)]; }
    /// Has the rows drawn again that show this picture.
    void PictureArrived(const QString& address);

    int rowCount(const QModelIndex& parent = {}) const override;
    /// DisplayRole: the title. AccessibleTextRole: everything that the row shows.
    QVariant data(const QModelIndex& at, int role) const override;

    /// "author · episodes · newest": what is known of them, in the user's language.
    static QString Facts(const TPodcastFindEntry& entry);

private:
    std::vector<TPodcastFindEntry> FEntries;
    QHash<QString, int> FRows;             // by address
    QMultiHash<QString, int> FOfPictures;  // by the picture's address
};

}  // namespace podcasts
