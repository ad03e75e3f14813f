#include "Podcasts.Plugin.Dialogs.Storage.h"

#include "Podcasts.Plugin.Dialogs.h"
#include "VEXA.Runtime.Threads.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>

#include <numeric>

namespace podcasts {

using namespace vexa;

namespace {

const QString kPrefix = QStringLiteral("Podcasts.Storage\\");

QString Filled(const QString& key, const QString& value) {
    return LocalizedText(kPrefix + key).replace(QStringLiteral("%s"), value);
}

QString Size(qint64 bytes) {
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

}  // namespace

TfrmPodcastsStorage::TfrmPodcastsStorage(QWidget* parent, TPodcastsStorageWork work)
    : QWidget(parent), FWork(std::move(work)), FTotal(new QLabel), FFeeds(new QTreeWidget), FDelete(new QPushButton) {
    FFeeds->setObjectName(QStringLiteral("Feeds"));
    FFeeds->setRootIsDecorated(false);
    FFeeds->setUniformRowHeights(true);
    FFeeds->setSelectionMode(QAbstractItemView::ExtendedSelection);
    FFeeds->setColumnCount(4);
    FFeeds->header()->setStretchLastSection(false);
    FFeeds->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    FFeeds->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    FDelete->setObjectName(QStringLiteral("DeleteHeard"));
    auto* whole = new QVBoxLayout(this);
    whole->addWidget(FTotal);
    whole->addWidget(FFeeds, 1);
    whole->addWidget(FDelete, 0, Qt::AlignLeft);
    connect(FFeeds, &QTreeWidget::itemSelectionChanged, this, [this] { ShowButton(); });
    connect(FDelete, &QPushButton::clicked, this, [this] { DeleteHeard(); });
}

void TfrmPodcastsStorage::Load() {
    FWork.Run([page = Link<TfrmPodcastsStorage>(FLinks)](TPodcastClient& client) {
        RunInMainThread(
            [page, usage = GetDiskUsage(client.DB(), client.AskFilesInUse())] {
                if (auto* const present = page.Get()) present->Show(usage);
            },
            false);
    });
}

void TfrmPodcastsStorage::Show(std::vector<TPodcastDiskUsage> usage) {
    FUsage = std::move(usage);
    FIsRead = true;
    FFeeds->clear();
    for (const TPodcastDiskUsage& feed : FUsage) {
        auto* item = new QTreeWidgetItem(FFeeds, {feed.FeedTitle.simplified(), QLocale().toString(feed.Files),
                                                  Size(feed.Bytes), Size(feed.HeardBytes)});
        item->setToolTip(0, feed.FeedTitle.toHtmlEscaped());
        for (int column = 1; column < 4; ++column) item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    Localize();
}

std::vector<const TPodcastDiskUsage*> TfrmPodcastsStorage::Chosen() const {
    std::vector<const TPodcastDiskUsage*> chosen;
    for (int row = 0; row < FFeeds->topLevelItemCount(); ++row)
        if (FFeeds->selectedItems().isEmpty() || FFeeds->topLevelItem(row)->isSelected())
            chosen.push_back(&FUsage[static_cast<std::size_t>(row)]);
    return chosen;
}

void TfrmPodcastsStorage::ShowButton() {
    const auto chosen = Chosen();
    const qint64 heard = std::accumulate(chosen.begin(), chosen.end(), qint64{0},
                                         [](qint64 sum, const auto* feed) { return sum + feed->HeardBytes; });
    FDelete->setText(Filled(FFeeds->selectedItems().isEmpty() ? QStringLiteral("DeleteAll") : QStringLiteral("Delete"),
                            Size(heard)));
    FDelete->setEnabled(heard > 0);
}

void TfrmPodcastsStorage::DeleteHeard() {
    QStringList keys;
    for (const auto* feed : Chosen()) keys += feed->HeardKeys;
    if (keys.isEmpty()) return;
    FDelete->setEnabled(false);
    FWork.Run([keys, remove = FWork.Delete](TPodcastClient& client) { remove(client, keys); });
    Load();
}

void TfrmPodcastsStorage::Localize() {
    const auto text = [](const char* key) { return LocalizedText(kPrefix + QLatin1String(key)); };
    FFeeds->setHeaderLabels({text("Podcast"), text("Files"), text("Size"), text("Heard")});
    FFeeds->setAccessibleName(text("Caption"));
    const qint64 total = std::accumulate(FUsage.begin(), FUsage.end(), qint64{0},
                                         [](qint64 sum, const auto& feed) { return sum + feed.Bytes; });
    FTotal->setText(!FIsRead         ? QString()
                    : FUsage.empty() ? text("Nothing")
                                     : Filled(QStringLiteral("Total"), Size(total)));
    ShowButton();
}

// ---- The page ----

QString TVEXAPodcastsStorageFrame::GetPageCaption() {
    return LocalizedText(kPrefix + QStringLiteral("Caption"));
}

QWidget* TVEXAPodcastsStorageFrame::CreatePageForm(WindowHandle, QWidget* parentControl) {
    return new TfrmPodcastsStorage(parentControl, FWork);
}

void TVEXAPodcastsStorageFrame::HandleNotification(std::int32_t notification) noexcept {
    auto* const form = static_cast<TfrmPodcastsStorage*>(Form());
    if (!form) return;
    GuardedCall("following the options dialog", [&] {
        if (notification == Load) form->Load();
        if (notification == Localize) form->Localize();
    });
}

}  // namespace podcasts
