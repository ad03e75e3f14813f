#include "Podcasts.Plugin.Dialogs.Backups.h"

#include "Podcasts.Core.Restoring.h"
#include "Podcasts.Plugin.Dialogs.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Threads.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTreeWidget>

#include <numeric>
#include <utility>

namespace podcasts {

using namespace vexa;

namespace {

constexpr int kLargestLimit = 1'000'000;      // MB
constexpr qsizetype kMaxProblemLength = 600;  // letters

QString Text(const char* key) {
    return LocalizedText(QStringLiteral("Podcasts.Backups\\") + QLatin1String(key));
}

QString Size(qint64 bytes) {
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeTraditionalFormat);
}

}  // namespace

bool AskToGoOnWithoutBackup(const Reason& why) {
    bool goOn = false;
    RunInMainThread(
        [&] {
            if (!CanShowWindows("a question")) return;
            const QString text = TextForLabel(LocalizedText(why), kMaxProblemLength) + u"\n\n" + Text("GoOn");
            TOpenDialog<QMessageBox> box(QMessageBox::Warning, QString(), text, QMessageBox::Yes | QMessageBox::Cancel,
                                         nullptr);
            box->setTextFormat(Qt::PlainText);
            box->setDefaultButton(QMessageBox::Cancel);
            box->button(QMessageBox::Yes)->setText(Text("GoOnButton"));
            box->button(QMessageBox::Cancel)->setText(LocalizedText(QStringLiteral("CommonDialogs\\B2")));
            goOn = box->exec() == QMessageBox::Yes;
        },
        true);
    return goOn;
}

TfrmPodcastsBackups::TfrmPodcastsBackups(QWidget* parent, TPodcastClient& client, TPodcastsBackupsWork work)
    : QWidget(parent),
      FClient(client.Links()),
      FWork(std::move(work)),
      FState(new QLabel),
      FList(new QTreeWidget),
      FBackUp(new QPushButton),
      FRestore(new QPushButton),
      FDoNotRestore(new QPushButton),
      FLimitCaption(new QLabel),
      FLimit(new QSpinBox) {
    FState->setObjectName(QStringLiteral("State"));
    FState->setWordWrap(true);
    FState->setTextFormat(Qt::PlainText);
    FList->setObjectName(QStringLiteral("Backups"));
    FList->setRootIsDecorated(false);
    FList->setUniformRowHeights(true);
    FList->setColumnCount(2);
    FList->header()->setStretchLastSection(false);
    FList->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    FList->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    FBackUp->setObjectName(QStringLiteral("BackUp"));
    FRestore->setObjectName(QStringLiteral("Restore"));
    FDoNotRestore->setObjectName(QStringLiteral("DoNotRestore"));
    FLimit->setObjectName(QStringLiteral("Limit"));
    FLimit->setRange(0, kLargestLimit);
    FLimitCaption->setBuddy(FLimit);
    auto* buttons = new QHBoxLayout;
    for (QPushButton* const button : {FRestore, FDoNotRestore, FBackUp}) buttons->addWidget(button);
    buttons->addStretch(1);
    auto* limit = new QHBoxLayout;
    limit->addWidget(FLimitCaption);
    limit->addWidget(FLimit);
    limit->addStretch(1);
    auto* whole = new QVBoxLayout(this);
    whole->addWidget(FState);
    whole->addWidget(FList, 1);
    whole->addLayout(buttons);
    whole->addLayout(limit);
    connect(FList, &QTreeWidget::itemSelectionChanged, this, [this] { ShowButtons(); });
    connect(FBackUp, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { BackUp(); }); });
    connect(FRestore, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { Restore(); }); });
    connect(FDoNotRestore, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { DoNotRestore(); }); });
    connect(FLimit, &QSpinBox::valueChanged, this, [] {
        if (const auto dialog = HostService<IVEXAServiceOptionsDialog>()) dialog->FrameModified(nullptr);
    });
}

void TfrmPodcastsBackups::Load() {
    if (TPodcastClient* const client = FClient.Get()) {
        const QSignalBlocker isNoChange(FLimit);
        FLimit->setValue(client->Options().BackupSizeLimit);
    }
    FWork.Run([page = Link<TfrmPodcastsBackups>(FLinks)](TPodcastClient& client) {
        RunInMainThread(
            [page, backups = ListBackups(client.ProfileFolder()),
             isPending = IsReplacementPending(client.ProfileFolder())] {
                if (auto* const present = page.Get()) present->Show(backups, isPending);
            },
            false);
    });
}

void TfrmPodcastsBackups::Save() {
    if (TPodcastClient* const client = FClient.Get()) client->Options().BackupSizeLimit = FLimit->value();
    if (FWork.OnSave) FWork.OnSave();
}

void TfrmPodcastsBackups::Reset() {
    FLimit->setValue(TPodcastClientOptions().BackupSizeLimit);
}

void TfrmPodcastsBackups::Show(std::vector<TPodcastBackup> backups, bool isPending) {
    FBackups = std::move(backups);
    std::erase_if(FBackups, [](const TPodcastBackup& backup) { return !backup.IsWhole; });
    FIsPending = isPending;
    FIsRead = true;
    FList->clear();
    for (const TPodcastBackup& backup : FBackups) {
        auto* item = new QTreeWidgetItem(
            FList, {QLocale().toString(backup.Date.toLocalTime(), QLocale::LongFormat), Size(backup.Size)});
        item->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
    }
    Localize();
}

void TfrmPodcastsBackups::ShowButtons() {
    FRestore->setEnabled(!FList->selectedItems().isEmpty() && !FIsWorking);
    FDoNotRestore->setVisible(FIsPending);
    FBackUp->setEnabled(!FIsWorking);
}

void TfrmPodcastsBackups::BackUp() {
    TPodcastClient* const client = FClient.Get();
    if (!client) return;
    FIsWorking = true;
    FProblem = {};
    Localize();
    client->BackUpInBackground([page = Link<TfrmPodcastsBackups>(FLinks)](const Reason& problem) {
        auto* const present = page.Get();
        if (!present) return;
        present->FIsWorking = false;
        present->FProblem = problem;
        present->Load();
    });
}

void TfrmPodcastsBackups::Restore() {
    const int row = FList->indexOfTopLevelItem(FList->selectedItems().value(0));
    if (row < 0) return;
    FProblem = {};
    FWork.Run([fileName = FBackups[static_cast<std::size_t>(row)].FileName](TPodcastClient& client) {
        auto present = TPodcastPresentFiles::Delete;
        try {
            MakeBackup(client.ProfileFolder(), client.Now(), std::nullopt);
        } catch (const std::exception& error) {
            qCWarning(LogPlugin).noquote() << "what a restored backup replaces will be kept:" << error.what();
            present = TPodcastPresentFiles::Keep;
        }
        PrepareRestore(client.ProfileFolder(), fileName, client.Now(), present);
    });
    Load();
}

void TfrmPodcastsBackups::DoNotRestore() {
    if (TPodcastClient* const client = FClient.Get()) CancelReplacement(client->ProfileFolder());
    Load();
}

void TfrmPodcastsBackups::Localize() {
    FList->setHeaderLabels({Text("Date"), Text("Size")});
    FList->setAccessibleName(Text("Caption"));
    FBackUp->setText(Text("BackUp"));
    FRestore->setText(Text("Restore"));
    FDoNotRestore->setText(Text("DoNotRestore"));
    FLimitCaption->setText(Text("Limit"));
    const qint64 total = std::accumulate(FBackups.begin(), FBackups.end(), qint64{0},
                                         [](qint64 sum, const auto& backup) { return sum + backup.Size; });
    FState->setText(FProblem           ? TextForLabel(LocalizedText(FProblem), kMaxProblemLength)
                    : FIsWorking       ? Text("Working")
                    : FIsPending       ? Text("Pending")
                    : !FIsRead         ? QString()
                    : FBackups.empty() ? Text("Nothing")
                                       : Text("Total").replace(QStringLiteral("%s"), Size(total)));
    ShowButtons();
}

// ---- The page ----

QString TVEXAPodcastsBackupsFrame::GetPageCaption() {
    return Text("Caption");
}

QWidget* TVEXAPodcastsBackupsFrame::CreatePageForm(WindowHandle, QWidget* parentControl) {
    TPodcastClient* const client = FClient.Get();
    return client ? new TfrmPodcastsBackups(parentControl, *client, FWork) : nullptr;
}

void TVEXAPodcastsBackupsFrame::HandleNotification(std::int32_t notification) noexcept {
    auto* const form = static_cast<TfrmPodcastsBackups*>(Form());
    if (!form) return;
    GuardedCall("following the options dialog", [&] {
        if (notification == Load) form->Load();
        if (notification == Localize) form->Localize();
        if (notification == Save) form->Save();
        if (notification == Reset) form->Reset();
    });
}

}  // namespace podcasts
