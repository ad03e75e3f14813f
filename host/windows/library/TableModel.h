#pragma once
// The rows of the library as the table shows them. Only rows in sight are read, a page at a time, on the reader's
// thread; rows not read yet show a placeholder, and nothing waits for them. Main thread.
//
//     TableModel model(host.Language());
//     model.SetSource(&storage, &reader);
//     model.SetQuery({.Search = "…"});     // the previous rows stay until the answer has come
//     model.SetVisibleRows(first, last);   // after every scroll
//     model.Reload();                      // when rows may have changed; persistent indexes follow the rows' IDs
//     model.Touch({file});                 // before the user changes a row
//
// A row that the user has changed may not fit the query any more, as an episode marked as listened does not fit "new".
// If it went at once, the next click would hit the row below it. Such rows are kept: dimmed, at their place, until the
// next query or order. They are the model's own and not among the storage's rows.

#include "Positions.h"
#include "PresentAddresses.h"
#include "Rows.h"
#include "WindowTexts.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QSet>

#include <map>
#include <optional>
#include <set>

namespace vexa::host {

class Covers;

class TableModel final : public QAbstractTableModel, private AddressKeeper {
    Q_OBJECT
public:
    static constexpr int kPageSize = 100;
    static constexpr int kMaxKept = 200;

    explicit TableModel(const LanguageService& language, QObject* parent = nullptr);
    ~TableModel() override;

    /// Storage and reader are used until the next SetSource. Null for none; then there are no rows.
    void SetSource(const LibraryStorage* storage, RowReader* reader);
    /// The model sets the query's fields, range and order itself. An answer to an earlier query is dropped.
    void SetQuery(RowQuery query);
    const RowQuery& Query() const noexcept { return FQuery; }
    void SetVisibleRows(int first, int last);
    void Reload();
    /// The user is about to change the rows of these files, or has just done so.
    void Touch(const QStringList& files);
    /// Where files were left, for the progress beside their titles; null for none. Outlives the model.
    void SetPositions(const Positions* positions) noexcept { FPositions = positions; }
    void OnPositionsChanged();
    /// The pictures beside the titles; null for none. Outlives the model, or is replaced by null before.
    void SetCovers(Covers* covers) noexcept { FCovers = covers; }
    static constexpr int kListCoverSide = 40;
    /// How rows are shown: by columns, or as a list whose rows have two lines, both from the title's column.
    void SetIsList(bool isList) noexcept { FIsList = isList; }
    /// Whether the second line of a list's row names its container; not needed where all rows have the same.
    void SetShowsContainer(bool isShown) noexcept { FShowsContainer = isShown; }
    /// The roles by which the title's column gives what a list's row shows besides its title and picture: the second
    /// line; whether the user has not turned to the row, is done with it, and has a copy of its file.
    enum ListRole { kSecondLineRole = Qt::UserRole + 16, kIsUntouchedRole, kIsDoneRole, kIsLocalRole };
    /// The file that plays, whose row is marked; empty for none.
    void SetPlaying(const QString& file);
    /// Finds rows again whose files' addresses, and with them their IDs, have moved. Outlives the model.
    void SetAddresses(PresentAddresses& addresses);
    /// Why the storage gave no rows; empty when it did.
    const QString& Failure() const noexcept { return FFailure; }
    /// Whether the answer to the query has not come yet.
    bool IsBusy() const noexcept { return FFirst != 0; }

    const std::vector<const LibraryField*>& Columns() const noexcept { return FColumns; }
    /// −1 when there is no such column.
    int ColumnOf(const QString& field) const noexcept;
    int ColumnOf(IVEXAMLDataField::Roles role) const noexcept;
    /// The number of rows that fit the query: without the rows that are only kept.
    int Count() const noexcept { return FCount; }
    bool IsKept(int row) const;
    /// Null for a row that has not been read yet.
    const std::vector<RowValue>* Row(int row) const;
    /// Empty for a row that has not been read yet.
    QString File(int row) const;
    /// The files of rows `first` to `last`. Rows not read yet are read now, which blocks.
    QStringList Files(int first, int last);
    /// The files of all rows that fit the query.
    QStringList AllFiles() { return FilesOfStorage(0, FCount - 1); }
    /// The row of a file; −1 when it is not among the rows read so far.
    int FindFile(const QString& file) const;

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : FShownCount; }
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    void sort(int column, Qt::SortOrder order) override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    void Localize();

Q_SIGNALS:
    /// Other rows are shown, or the same rows with new values.
    void Shown();
    void BusyChanged(bool isBusy);
    void Failed(const QString& reason);

private:
    using Page = std::vector<std::vector<RowValue>>;
    using Pages = std::map<int, Page>;  // by page number
    struct Reloading {
        std::set<RowReader::Ticket> Tickets;
        Pages Arrived;
        int Count = 0;
        PresentAddresses::Ticket Asked = 0;  // the request for files missing in Arrived
        // Changed rows that are missing in Arrived: with their present values, and whether they still fit the query.
        QHash<QString, std::vector<RowValue>> Changed;
        QSet<QString> Fitting;
    };
    /// A row that does not fit the query any more.
    struct KeptRow {
        int Above;  // the number of the storage's rows above it
        std::vector<RowValue> Values;
    };

    QStringList KeptAddresses() const override { return {}; }  // FindMissingRows asks for the addresses that it needs
    void OnAddressesMoved(const AddressMoves& moves) override;

    RowQuery PageQuery(int page) const;
    void RequestRows();
    void OnFirstPage(RowPage page);
    void RequestPages();
    void OnCount(const RowCount& count);
    void SetShownCount(int count);
    void CancelRequests();
    void BeginReload();
    bool Repeat();
    static bool AreOfOneMoment(const Pages& pages, int count);
    void FindMissingRows();
    QStringList MissingFiles(const Pages& pages) const;
    void ReadChangedRows();
    QStringList ChangedRows() const;
    void OnReloaded();
    std::vector<KeptRow> KeptAfterReload() const;
    int RowAbove(int row, const QHash<QString, int>& places) const;
    QVariant Cover(const std::vector<RowValue>& values) const;
    QVariant ListValue(int row, int role) const;
    QString SecondLine(int row) const;
    /// The value of a column of that role; null when there is no such column.
    const RowValue* ValueOf(const std::vector<RowValue>& values, IVEXAMLDataField::Roles role) const;
    QVariant Progress(int row, int role) const;
    // In these functions `row` counts the storage's rows only.
    const std::vector<RowValue>* Row(const Pages& pages, int row) const;
    QString Value(const Pages& pages, int row, int column) const;
    QString ID(const Pages& pages, int row) const { return Value(pages, row, FIDColumn); }
    QStringList FilesOfStorage(int first, int last);
    void MoveRows(Pages pages, std::vector<KeptRow> kept);
    /// The number of kept rows above a row that is shown.
    int KeptAbove(int row) const;
    /// The storage's row that is shown as `row`; for a kept row, the storage's row below it.
    int StorageRow(int row) const { return row - KeptAbove(row); }
    static int ShownRow(const std::vector<KeptRow>& kept, int storageRow);
    QString FileOf(const std::vector<RowValue>& values) const;
    QString IDOf(const std::vector<RowValue>& values) const;

    const WindowTexts FTexts;
    const LibraryStorage* FStorage = nullptr;
    RowReader* FReader = nullptr;
    std::vector<const LibraryField*> FColumns;
    int FIDColumn = -1, FFileColumn = -1, FTitleColumn = -1, FLengthColumn = -1, FContainerColumn = -1;
    const Positions* FPositions = nullptr;
    Covers* FCovers = nullptr;
    bool FIsList = false, FShowsContainer = true;
    QString FPlaying;
    PresentAddresses* FAddresses = nullptr;
    RowQuery FQuery;      // with all fields: the columns, then the fields that only the model uses
    int FCount = 0;       // of the storage's rows
    int FShownCount = 0;  // with the kept rows
    Pages FPages;
    std::vector<KeptRow> FKept;  // in the order shown
    QSet<QString> FTouched;      // files
    QString FFailure;
    int FFirstVisible = 0, FLastVisible = 0;
    RowReader::Ticket FFirst = 0, FCounting = 0;
    std::map<int, RowReader::Ticket> FAsked;  // by page number: requests for pages in sight
    std::optional<Reloading> FReloading;
    bool FIsToReload = false;
    int FRepeats = 0;  // of the present reload
};

}  // namespace vexa::host
