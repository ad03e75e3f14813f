#include "LibraryController.h"

#include <QTableView>
#include <QTreeView>

namespace vexa::host {

namespace {

constexpr int kReloadPause = 50, kWorkingInterval = 1000;  // milliseconds

}  // namespace

/// The selection in the panes, which plug-ins ask for.
class LibraryController::Selection final : public LibrarySelectionModel {
public:
    Selection(TreePane& tree, TablePane& table) : FTree(tree), FTable(table) {}

    QStringList AllFiles() const override { return FTable.AllFiles(); }
    QStringList SelectedFiles() const override { return FInstead ? *FInstead : FTable.SelectedFiles(); }
    std::optional<QString> FocusedFile() const override {
        if (FInstead) return FInstead->value(0);
        const QString file = FTable.CurrentFile();
        return file.isEmpty() ? std::nullopt : std::optional(file);
    }
    Ref<IVEXAMLGroupingTreeDataProvider> TreeOfNode() const override { return FTree.Model().Provider(); }
    std::vector<TreePair> Node() const override { return PairsOf(FTree.SelectedPath()); }
    /// Runs a command as if these files were selected.
    template <class Command>
    void RunOn(QStringList files, Command command) {
        FInstead = std::move(files);
        command();
        FInstead.reset();
    }

private:
    std::optional<QStringList> FInstead;
    TreePane& FTree;
    TablePane& FTable;
};

LibraryController::LibraryController(Host& host, TreePane& tree, TablePane& table, NodePage& page, CoverGrid& grid)
    : FHost(host), FTree(tree), FTable(table), FPage(page), FGrid(grid), FCovers(host.ProfileFolder(), host.Library()) {
    const auto prepare = [this](QTimer& timer, int interval, void (LibraryController::*then)()) {
        timer.setSingleShot(true);
        timer.setInterval(interval);
        connect(&timer, &QTimer::timeout, this, then);
    };
    prepare(FOpening, 0, &LibraryController::Open);
    prepare(FReloading, kReloadPause, &LibraryController::ReloadNow);
    prepare(FWorking, kWorkingInterval, &LibraryController::ReloadNow);
    FWorking.setSingleShot(false);
    connect(&FTree, &TreePane::SelectionChanged, this, [this] {
        FTable.SetSearchesAll(false);
        ShowNode();
        Narrow();
    });
    connect(&FTree.Model(), &QAbstractItemModel::dataChanged, this, &LibraryController::ShowScope);
    connect(&FTable, &TablePane::SearchesAllChanged, this, &LibraryController::Narrow);
    connect(&FTable, &TablePane::SearchChanged, this, [this](const QString& text) {
        FSearch = text;
        Narrow();
    });
    connect(&FTable, &TablePane::CompactChanged, this, [this](bool isCompact) {
        if (FSource) FHost.Config().Write(CompactKey(), isCompact ? QStringLiteral("1") : QStringLiteral("0"));
    });
    connect(&FTable.Model(), &TableModel::Shown, this, [this] {
        if (!FFileToShow.isEmpty() && !FTable.Model().IsBusy()) FTable.ShowFile(std::exchange(FFileToShow, {}));
    });
    FTable.Model().SetAddresses(FHost.Addresses());
    FTree.Model().SetCovers(&FCovers);
    FTable.Model().SetCovers(&FCovers);
    FGrid.SetCovers(&FCovers);
    connect(&FPage, &NodePage::PlayOldestWanted, this, &LibraryController::PlayOldestUntouched);
    connect(&FPage, &NodePage::MarkAllWanted, this, &LibraryController::MarkAllDone);
    connect(&FGrid, &CoverGrid::SourceChosen, this,
            [this](const QString& value) { FTree.Select(FTree.SelectedValues() + QStringList(value)); });
    connect(FTable.GridAction(), &QAction::triggered, this, [this](bool isWanted) {
        if (FSource) FHost.Config().Write(Key("Grid"), isWanted ? QStringLiteral("1") : QStringLiteral("0"));
        FillGrid();
    });
    connect(&FTable, &TablePane::GridOrderChanged, this, [this] {
        if (FSource) FHost.Config().Write(Key("GridOrder"), QString::number(static_cast<int>(FGrid.SortOrder())));
    });
    connect(&FCovers, &Covers::Changed, this, [this] {
        FTree.View()->viewport()->update();
        FTable.View()->viewport()->update();
        FGrid.viewport()->update();
        ShowCover();
        Q_EMIT CoversChanged();
    });
    FHost.Library().AddListener(this);
    Open();
}

LibraryController::~LibraryController() {
    FHost.Library().RemoveListener(this);
    Close();
    FTree.Model().SetCovers(nullptr);
    FTable.Model().SetCovers(nullptr);
    FGrid.SetCovers(nullptr);
}

void LibraryController::Open() {
    Close();
    if (FHost.Library().ActiveStorageID().isEmpty()) return Q_EMIT StorageChanged();
    try {
        FSource = std::make_unique<Source>(FHost.Library());
    } catch (const LibraryError& error) {
        qCWarning(LogHost).noquote() << "the library cannot show its storage:" << error.what();
        return Q_EMIT StorageChanged();
    }
    FCovers.SetStorage(&FSource->Storage);
    FSelection = std::make_shared<Selection>(FTree, FTable);
    FHost.Selection().SetModel(FSelection);
    FTable.GridAction()->setChecked(FHost.Config().Find(Key("Grid")).value_or(QString()) != u"0");
    FGrid.SetOrder(static_cast<CoverGrid::Order>(
        std::clamp(FHost.Config().Find(Key("GridOrder")).value_or(QString()).toInt(), 0, 2)));
    const QString layout = FHost.Config().Find(Key("Columns")).value_or(QString());
    const QString node = FHost.Config().Find(Key("Node")).value_or(QString());
    FTable.SetSource(&FSource->Storage, &FSource->Reader, QByteArray::fromBase64(layout.toLatin1()));
    const auto presets = FSource->Storage.Presets();
    FTree.SetProvider(presets.empty() ? nullptr : presets.front().Provider,
                      node.isEmpty() ? QStringList() : node.split(u'\t'));
    FTable.SetSort(FHost.Config().Find(Key("Sort")).value_or(QString()));
    ShowNode();
    Narrow();
    UpdateIsEmpty();
    OnTasksChanged(FSource->Storage.ID());
    Q_EMIT StorageChanged();
}

void LibraryController::Close() {
    FOpening.stop();
    FReloading.stop();
    FWorking.stop();
    if (!FSource) return;
    SaveLayout();
    FHost.Selection().SetModel(nullptr);
    FSelection.reset();
    FPageReader.Stop();
    FGridReader.Stop();
    FPage.Clear();
    FTable.SetHasGrid(false);
    FGrid.SetSources({});
    FGrid.SetInfos({});
    FTable.SetSource(nullptr, nullptr, {});
    FTree.SetProvider(nullptr, {});
    FCovers.SetStorage(nullptr);
    FSource.reset();
    FIsEmpty = false;
}

QString LibraryController::Key(const char* name) const {
    return u"Window\\" + QString::fromLatin1(name) + u'.' + FSource->Storage.ID();
}

void LibraryController::SaveLayout() {
    if (!FSource) return;
    FHost.Config().Write(Key("Columns"), QString::fromLatin1(FTable.SaveLayout().toBase64()));
    FHost.Config().Write(Key("Sort"), FTable.Sort());
    FHost.Config().Write(Key("Node"), FTree.SelectedValues().join(u'\t'));
}

void LibraryController::Narrow() {
    if (!FSource) return;
    RowQuery query;
    query.Tree = FTree.Model().Provider();
    if (!FTable.SearchesAll()) query.Node = PairsOf(FTree.SelectedPath());
    if (query.Node.empty()) query.Tree = nullptr;
    query.Search = FSearch;
    FTable.Model().SetQuery(std::move(query));
}

/// Whether rows are shown as a table is remembered by the kind of the node, as its icon tells it.
QString LibraryController::CompactKey() const {
    const TreePath path = FTree.SelectedPath();
    return Key("Compact") + u'.' + QString::number(path.empty() ? -1 : path.back().Image);
}

void LibraryController::ShowNode() {
    ShowScope();
    if (!FSource) return;
    const TreePath path = FTree.SelectedPath();
    FTable.Model().SetShowsContainer(path.empty() ||
                                     path.back().Image != IVEXAMLGroupingTreeDataProviderSelection::Source);
    FPage.Clear();
    FillPage();
    FillGrid();
    const std::int32_t image = path.empty() ? -1 : path.back().Image;
    using RowText = WindowTexts::RowText;
    const RowText empty = image == IVEXAMLGroupingTreeDataProviderSelection::New     ? RowText::NothingNew
                          : image == IVEXAMLGroupingTreeDataProviderSelection::Later ? RowText::NothingLater
                                                                                     : RowText::NoRows;
    FTable.SetEmptyText(empty);
    FTable.SetCompact(FHost.Config().Find(CompactKey()).value_or(QString()) == u"1");
}

std::optional<TreePair> LibraryController::SelectedNode() const {
    const TreePath path = FTree.SelectedPath();
    return path.empty() ? std::nullopt : std::optional(path.back().Pair);
}

/// The nodes below the selected one if it is a folder of nothing but sources.
std::vector<TreeNode> LibraryController::SourcesBelow() {
    using Image = IVEXAMLGroupingTreeDataProviderSelection;
    const TreePath path = FTree.SelectedPath();
    if (!FSource || path.empty() || path.back().Image != Image::Folder) return {};
    TreeModel& model = FTree.Model();
    const QModelIndex node = model.Find(FTree.SelectedValues());
    model.fetchMore(node);
    std::vector<TreeNode> sources;
    for (int row = 0; row < model.rowCount(node); ++row) {
        sources.push_back(model.Path(model.index(row, 0, node)).back());
        if (sources.back().Image != Image::Source) return {};
    }
    return sources;
}

void LibraryController::FillPage() {
    const TreePath path = FTree.SelectedPath();
    const auto infos = FSource ? FSource->Storage.Offered<IVEXAMLNodeInfo>() : Ref<IVEXAMLNodeInfo>();
    if (!infos || path.empty() || path.back().Image != IVEXAMLGroupingTreeDataProviderSelection::Source)
        return FPage.Clear();
    FPageReader.Run([this, infos, node = path.back().Pair](const CancelCheck&) {
        const auto info = ReadNodeInfo(*infos, node);
        return [this, info, value = ToText(node.Value)] {
            const auto present = SelectedNode();
            if (!FSource || !info || !present || ToText(present->Value) != value) return;
            FPage.SetOffered(static_cast<bool>(FSource->Storage.Offered<IVEXAMLNodeOptions>()),
                             static_cast<bool>(FHost.Menus().WithButton(IVEXAMenuItem::DoneButton)));
            FPage.Show(*info, FSource->Storage.ID());
            ShowCover();
        };
    });
}

void LibraryController::ShowCover() {
    const TreePath path = FTree.SelectedPath();
    if (FPage.isHidden() || path.empty()) return;
    const TreeNode& node = path.back();
    FPage.SetCover(
        FCovers.Get(node.Pair.Field, node.Value(), node.Caption, NodePage::kCoverSide, FPage.devicePixelRatioF()));
}

void LibraryController::FillGrid() {
    std::vector<TreeNode> sources = SourcesBelow();
    FTable.SetHasGrid(!sources.empty());
    if (!FTable.IsGridShown()) return;
    FGrid.SetSources(std::move(sources));
    const auto infos = FSource->Storage.Offered<IVEXAMLNodeInfo>();
    if (!infos) return;
    FGridReader.Run([this, infos, sources = FGrid.Sources()](const CancelCheck& isStopped) {
        QHash<QString, NodeInfo> known;
        for (const TreeNode& node : sources) {
            if (isStopped()) break;
            if (const auto info = ReadNodeInfo(*infos, node.Pair)) known.insert(node.Value(), *info);
        }
        return [this, known] { FGrid.SetInfos(known); };
    });
}

void LibraryController::PlayOldestUntouched() {
    const LibraryField* state = FSource ? FSource->Storage.FieldOf(IVEXAMLDataField::State) : nullptr;
    const LibraryField* date = state ? FSource->Storage.FieldOf(IVEXAMLDataField::Date) : nullptr;
    const LibraryField* file = state ? FSource->Storage.FileField() : nullptr;
    if (!file || state->UntouchedValue.isEmpty()) return;
    RowQuery query{.Fields = {file->Name},
                   .Tree = FTree.Model().Provider(),
                   .Node = PairsOf(FTree.SelectedPath()),
                   .Where = {{.Field = state->Name, .Value1 = state->UntouchedValue}},
                   .Limit = 1};
    if (date) query.Sort = {{date->Name}};
    FSource->Reader.Read(query, [this](const RowPage& page) {
        if (!page.Rows.empty()) Q_EMIT PlayWanted(page.Rows.front().front().Text);
    });
}

void LibraryController::RunOn(IVEXAMenuItem& item, const QStringList& files) {
    if (!FSelection) return;
    FTable.Model().Touch(files);
    FSelection->RunOn(files, [&] { FHost.Menus().Run(item); });
    Reload();
}

void LibraryController::MarkAllDone() {
    const LibraryField* state = FSource ? FSource->Storage.FieldOf(IVEXAMLDataField::State) : nullptr;
    const LibraryField* file = state ? FSource->Storage.FileField() : nullptr;
    if (!file) return;
    const RowQuery query{
        .Fields = {file->Name, state->Name}, .Tree = FTree.Model().Provider(), .Node = PairsOf(FTree.SelectedPath())};
    FSource->Reader.Read(query, [this, done = state->DoneValue](const RowPage& page) {
        QStringList files;
        for (const auto& row : page.Rows)
            if (row[1].Text != done) files += row[0].Text;
        const MenuManager::Item item = FHost.Menus().WithButton(IVEXAMenuItem::DoneButton);
        if (files.isEmpty() || !item) return;
        RunOn(*item, files);
    });
}

void LibraryController::ShowScope() {
    const TreePath path = FTree.SelectedPath();
    FTable.SetScope(path.empty() ? QString() : path.back().Caption.simplified());
}

void LibraryController::Find(const QString& file) {
    const auto location = FSource ? FSource->Storage.Find(file) : std::nullopt;
    if (!location) return;
    QStringList values;
    for (const TreePair& pair : location->Node) values += ToText(pair.Value);
    FFileToShow = FHost.Addresses().Present(file);
    if (FTree.SelectedValues() == values)
        Narrow();
    else
        FTree.Select(values);
}

QPixmap LibraryController::Cover(const QString& file, const QString& name, int side) {
    const LibraryField* field = FSource && !file.isEmpty() ? FSource->Storage.FileField() : nullptr;
    return field ? FCovers.Get(field->Name, file, name, side, FTable.devicePixelRatioF()) : QPixmap();
}

void LibraryController::Reload() {
    if (FSource && !FReloading.isActive()) FReloading.start();
}

void LibraryController::ReloadNow() {
    if (!FSource) return;
    FTree.Model().Reload();
    FTable.Model().Reload();
    FillPage();
    FillGrid();
    UpdateIsEmpty();
    Q_EMIT Reloaded();
}

void LibraryController::UpdateIsEmpty() {
    // While there are no subscriptions, the tree has no leaves and there are no rows.
    FIsEmpty = FSource->Storage.Subscriptions() && FTree.Model().Provider() && !FTree.Model().HasLeaves();
}

void LibraryController::OnDataChanged(const QString& storageID) {
    if (FSource && storageID == FSource->Storage.ID()) Reload();
}

void LibraryController::OnTasksChanged(const QString& storageID) {
    if (!FSource || storageID != FSource->Storage.ID()) return;
    const bool isWorking = !FHost.Library().Tasks(storageID).empty();
    if (isWorking && !FWorking.isActive()) FWorking.start();
    if (!isWorking) {
        FWorking.stop();
        Reload();
    }
    Q_EMIT TasksChanged();
}

void LibraryController::OnActiveStorageChanged(const QString&) {
    // Opened later, because the plug-in may still be registering the storage.
    Close();
    FOpening.start();
}

void LibraryController::OnStorageAdded(const QString& storageID) {
    if (!FSource && storageID == FHost.Library().ActiveStorageID()) FOpening.start();
}

void LibraryController::OnStorageEnding(const QString& storageID) {
    if (!FSource || storageID != FSource->Storage.ID()) return;
    Close();
    Q_EMIT StorageChanged();
}

}  // namespace vexa::host
