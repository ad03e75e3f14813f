#pragma once
// The rows of the library as the table shows them. Only rows in sight are asked for, a page at a time, on the reader's
// thread; until they come they are shown as such, and nothing waits. Main thread.
//
//     TableModel model(host.Language());
//     model.SetSource(&storage, &reader);
//     model.SetQuery({.Search = "…"});     // what showed before stays until the answer is there
//     model.SetSight(first, last);         // after every scrolling
//     model.Reload();                      // rows may have changed; who stands where is kept by the rows' IDs

#include "Positions.h"
#include "PresentAddresses.h"
#include "Rows.h"
#include "WindowTexts.h"

#include <QAbstractTableModel>

#include <map>
#include <optional>
#include <set>

namespace vexa::host {

class TableModel final : public QAbstractTableModel, private AddressKeeper {
    Q_OBJECT
public:
    static constexpr int kPageSize = 100;

    explicit TableModel(const LanguageService& language, QObject* parent = nullptr);
    ~TableModel() override;

    /// Both outlive the model's use of them; null lets go of them, and there is no row.
    void SetSource(const LibraryStorage* storage, RowReader* reader);
    /// Fields, range and order are the model's own. An answer to an earlier query is dropped.
    void SetQuery(RowQuery query);
    const RowQuery& Query() const noexcept { return FQuery; }
    void SetSight(int first, int last);
    void Reload();
    /// Where files were left, shown beside their titles. It outlives the model; null for nothing.
    void SetPositions(const Positions* positions) noexcept { FPositions = positions; }
    void OnPositionsChanged();
    /// By which rows are found again whose files, and IDs with them, have moved. It outlives the model.
    void SetAddresses(PresentAddresses& addresses);
    /// Why the storage gave no rows; empty when it did.
    const QString& Failure() const noexcept { return FFailure; }
    /// Whether an answer to a query is awaited.
    bool IsBusy() const noexcept { return FFirst != 0; }

    const std::vector<const LibraryField*>& Columns() const noexcept { return FColumns; }
    /// −1 when it is none of the columns.
    int ColumnOf(const QString& field) const noexcept;
    int ColumnOf(IVEXAMLDataField::Roles role) const noexcept;
    /// Null for a row that is not there yet.
    const std::vector<RowValue>* Row(int row) const;
    /// Empty for a row that is not there yet.
    QString File(int row) const;
    /// Of rows `first` to `last`; what is not there is read, and waited for.
    QStringList Files(int first, int last);
    /// −1 when it is not among the rows that are there.
    int FindFile(const QString& file) const;

    int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : FCount; }
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    void sort(int column, Qt::SortOrder order) override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    void Localize();

Q_SIGNALS:
    /// Other rows show, or the same ones as they are now.
    void Shown();
    void BusyChanged(bool isBusy);
    void Failed(const QString& reason);

private:
    using Page = std::vector<std::vector<RowValue>>;
    using Pages = std::map<int, Page>;  // by their numbers
    struct Reloading {
        std::set<RowReader::Ticket> Tickets;
        Pages Arrived;
        PresentAddresses::Ticket Asked = 0;  // for rows that are not among those that arrived
    };

    QStringList KeptAddresses() const override { return {}; }  // it asks itself, when it reads rows anew
    void OnAddressesMoved(const AddressMoves& moves) override;

    RowQuery PageQuery(int page) const;
    void Ask();
    void TakeFirst(RowPage page);
    void AskPages();
    void TakeCount(const RowCount& count);
    void Forget();
    void SetCount(int count);
    void BeginReload();
    void FindLost(int count);
    QStringList LostFiles(const Pages& pages) const;
    void TakeReloaded(int count);
    QVariant Progress(int row, int role) const;
    const std::vector<RowValue>* Row(const Pages& pages, int row) const;
    QString Value(const Pages& pages, int row, int column) const;
    QString ID(const Pages& pages, int row) const { return Value(pages, row, FIDColumn); }
    void MoveRows(Pages pages);

    const WindowTexts FTexts;
    const LibraryStorage* FStorage = nullptr;
    RowReader* FReader = nullptr;
    std::vector<const LibraryField*> FColumns;
    int FIDColumn = -1, FFileColumn = -1, FTitleColumn = -1, FLengthColumn = -1;
    const Positions* FPositions = nullptr;
    PresentAddresses* FAddresses = nullptr;
    RowQuery FQuery;  // with all fields: the columns, then those that only the model looks at
    int FCount = 0;
    Pages FPages;
    QString FFailure;
    int FSightFirst = 0, FSightLast = 0;
    RowReader::Ticket FFirst = 0, FCounting = 0;
    std::map<int, RowReader::Ticket> FAsked;  // pages in sight that are on their way
    std::optional<Reloading> FReloading;
    bool FIsToReload = false;
};

}  // namespace vexa::host
