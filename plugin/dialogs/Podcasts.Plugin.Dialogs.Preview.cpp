#include "Podcasts.Plugin.Dialogs.Preview.h"

#include "Podcasts.Core.Reasons.h"
#include "Podcasts.Core.ShowNotes.h"
#include "Podcasts.Plugin.Dialogs.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Url.h"
#include "apiWrappers.h"

#include <QAbstractTableModel>
#include <QBoxLayout>
#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QShortcut>
#include <QTreeView>

#include <algorithm>
#include <array>
#include <cmath>

namespace podcasts {

using namespace vexa;

namespace {

constexpr qsizetype kMaxTitle = 200, kMaxAuthor = 200, kMaxDescription = 600, kMaxReason = 300;  // letters
constexpr double kLongest = 1e9;  // seconds; a longer episode is an error of the feed

QString OwnText(const char* key, int part = 0) {
    return LocalizedTextPart(u"Podcasts.Preview\\" + QLatin1String(key), part);
}

QString PlainDescription(const QString& text) {
    return TextForLabel(ReadShowNotes(text.left(8 * kMaxDescription)).Text, kMaxDescription);
}

QString ShownDate(double date) {
    const QDateTime time = date != 0 ? FromOleDate(date) : QDateTime();
    return time.isValid() ? QLocale().toString(time.toLocalTime().date(), QLocale::ShortFormat) : QString();
}

QString ShownLength(double seconds) {
    if (!(seconds >= 0.5) || seconds > kLongest) return {};
    const auto whole = static_cast<qint64>(std::round(seconds));
    const auto two = [](qint64 number) { return QString(QString::number(number).rightJustified(2, u'0')); };
    const QString minutes = QString::number(whole / 60 % 60);
    return whole < 3600 ? QString(minutes + u':' + two(whole % 60))
                        : QString(QString::number(whole / 3600) + u':' + two(whole / 60 % 60) + u':' + two(whole % 60));
}

/// The address that plays an episode; empty when it cannot be played. Feeds are hostile: an address of a local file is
/// none.
QString AddressOf(const TPodcastFeed& feed, const TPodcastEpisode& episode) {
    const QString& address = episode.Fields[pefURLAudio];
    return IsUrl(address) ? WithCredentialsOf(feed.Fields[pffURLFeed], address) : QString();
}

/// What the player shows of the episode.
Ref<IVEXAFileInfo> InfoOf(const TPodcastFeed& feed, const TPodcastEpisode& episode) {
    auto info = CreateHostObject<IVEXAFileInfo>();
    WritePropertyString(info.Get(), IVEXAFileInfo::FileName, AddressOf(feed, episode));
    WritePropertyString(info.Get(), IVEXAFileInfo::Title, episode.Fields[pefTitle]);
    WritePropertyString(info.Get(), IVEXAFileInfo::Album, feed.Fields[pffTitle]);
    WritePropertyString(info.Get(), IVEXAFileInfo::Artist, episode.Fields[pefArtist]);
    WritePropertyFloat(info.Get(), IVEXAFileInfo::Duration, static_cast<double>(episode.Duration));
    return info;
}

QString PlayingFile() {
    const auto player = HostService<IVEXAServicePlayer>();
    Ref<IVEXAFileInfo> info;
    if (!player || Failed(player->GetInfo(info.Put()))) return {};
    return ReadPropertyString(info.Get(), IVEXAFileInfo::FileName);
}

}  // namespace

/// A feed's episodes, the newest first. Those that cannot be played are disabled.
class TfrmPodcastPreview::EpisodeModel final : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;

    void SetFeed(std::shared_ptr<const TPodcastFeed> feed) {
        beginResetModel();
        FFeed = std::move(feed);
        FEpisodes.clear();
        if (FFeed)
            for (const auto& episode : FFeed->Episodes()) FEpisodes.push_back(episode.get());
        std::stable_sort(FEpisodes.begin(), FEpisodes.end(),
                         [](const auto* a, const auto* b) { return a->PublishDate > b->PublishDate; });
        endResetModel();
    }
    /// The language has changed.
    void Localize() {
        Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount({}) - 1);
        if (!FEpisodes.empty()) Q_EMIT dataChanged(index(0, 0), index(rowCount({}) - 1, columnCount({}) - 1));
    }
    /// Null without a row.
    const TPodcastEpisode* At(const QModelIndex& at) const {
        return at.isValid() ? FEpisodes[static_cast<std::size_t>(at.row())] : nullptr;
    }

    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(FEpisodes.size());
    }
    int columnCount(const QModelIndex&) const override { return 3; }
    Qt::ItemFlags flags(const QModelIndex& at) const override {
        const TPodcastEpisode* const episode = At(at);
        return episode && !AddressOf(*FFeed, *episode).isEmpty() ? QAbstractTableModel::flags(at) : Qt::NoItemFlags;
    }
    QVariant headerData(int section, Qt::Orientation, int role) const override {
        return role == Qt::DisplayRole ? OwnText("Columns", section) : QVariant();
    }
    QVariant data(const QModelIndex& at, int role) const override {
        const TPodcastEpisode* const episode = At(at);
        if (!episode) return {};
        if (role == Qt::TextAlignmentRole && at.column() == 2) return int{Qt::AlignRight | Qt::AlignVCenter};
        if (role != Qt::DisplayRole) return {};
        switch (at.column()) {
            case 0:
                return TextForLabel(episode->Fields[pefTitle], kMaxTitle);
            case 1:
                return ShownDate(episode->PublishDate);
            default:
                return ShownLength(static_cast<double>(episode->Duration));
        }
    }

private:
    std::shared_ptr<const TPodcastFeed> FFeed;
    std::vector<const TPodcastEpisode*> FEpisodes;
};

TfrmPodcastPreview::TfrmPodcastPreview(QWidget* parent)
    : QWidget(parent),
      FModel(new EpisodeModel(this)),
      lbTitle(new QLabel),
      lbAuthor(new QLabel),
      lbDescription(new QLabel),
      lbEpisodes(new QLabel),
      lbState(new QLabel),
      tvEpisodes(new QTreeView),
      btnPlay(new QPushButton),
      btnStop(new QPushButton) {
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    const std::pair<QLabel*, const char*> labels[] = {{lbTitle, "lbTitle"},
                                                      {lbAuthor, "lbAuthor"},
                                                      {lbDescription, "lbDescription"},
                                                      {lbState, "lbState"},
                                                      {lbEpisodes, "lbEpisodes"}};
    for (const auto& [label, name] : labels) {
        label->setObjectName(QLatin1String(name));
        label->setTextFormat(Qt::PlainText);
        label->setWordWrap(true);
        label->hide();
        whole->addWidget(label);
    }
    QFont bold = lbTitle->font();
    bold.setBold(true);
    lbTitle->setFont(bold);
    tvEpisodes->setObjectName(QStringLiteral("tvEpisodes"));
    tvEpisodes->setModel(FModel);
    tvEpisodes->setRootIsDecorated(false);
    tvEpisodes->setUniformRowHeights(true);
    tvEpisodes->setAllColumnsShowFocus(true);
    tvEpisodes->header()->setStretchLastSection(false);
    tvEpisodes->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    const int character = fontMetrics().averageCharWidth();
    tvEpisodes->header()->resizeSection(1, 14 * character);
    tvEpisodes->header()->resizeSection(2, 11 * character);
    btnPlay->setObjectName(QStringLiteral("btnPlay"));
    btnStop->setObjectName(QStringLiteral("btnStop"));
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch(1);
    for (QPushButton* const button : {btnPlay, btnStop}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    whole->addWidget(tvEpisodes, 1);
    whole->addLayout(buttons);

    const auto play = [this] { RunEvent(*this, [this] { Play(); }); };
    connect(btnPlay, &QPushButton::clicked, this, play);
    connect(btnStop, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { Stop(); }); });
    connect(tvEpisodes, &QTreeView::activated, this, play);
    connect(new QShortcut(Qt::Key_Space, tvEpisodes, nullptr, nullptr, Qt::WidgetShortcut), &QShortcut::activated, this,
            play);
    Localize();
    UpdateControls();
}

TfrmPodcastPreview::~TfrmPodcastPreview() = default;

QWidget* TfrmPodcastPreview::Episodes() const noexcept {
    return tvEpisodes;
}

void TfrmPodcastPreview::Open(const QString& address) {
    // The user may go through a list quickly, so do not wait for the end of a fetch.
    if (FFetch) FFetch->Abandon();
    FFeed = nullptr;
    FModel->SetFeed(nullptr);
    for (QLabel* const label : {lbTitle, lbAuthor, lbDescription, lbEpisodes}) label->hide();
    ShowState(address.isEmpty() ? QString() : LocalizedText(QStringLiteral("MSG\\73")));
    UpdateControls();
    FFetch = address.isEmpty()
                 ? nullptr
                 : std::make_unique<TPodcastFeedFetch>(address, [this](TPodcastFoundFeed& found) { Show(found); });
}

void TfrmPodcastPreview::Show(TPodcastFoundFeed& found) {
    FFetch.reset();
    FFeed = std::move(found.Feed);
    if (!FFeed) {
        Reason why = found.Error;
        if (!found.Choices.empty()) why = Reason(CoreReason("SeveralFeeds"), {QString::number(found.Choices.size())});
        ShowState(TextForLabel(LocalizedText(why), kMaxReason));
    } else {
        FModel->SetFeed(FFeed);
        const auto show = [](QLabel& label, const QString& text) {
            label.setText(text);
            label.setVisible(!text.isEmpty());
        };
        show(*lbTitle, TextForLabel(FFeed->Fields[pffTitle], kMaxTitle));
        show(*lbAuthor, TextForLabel(FFeed->Fields[pffAuthor], kMaxAuthor));
        show(*lbDescription, PlainDescription(FFeed->Fields[pffDescription]));
        lbEpisodes->show();
        ShowState(FFeed->EpisodeCount() == 0 ? OwnText("Nothing") : QString());
        for (int row = 0; row < FModel->rowCount({}) && !tvEpisodes->currentIndex().isValid(); ++row)
            if (const QModelIndex at = FModel->index(row, 0); at.flags() & Qt::ItemIsEnabled)
                tvEpisodes->setCurrentIndex(at);
    }
    Localize();
    UpdateControls();
    if (FOnRead) FOnRead();
}

void TfrmPodcastPreview::ShowState(const QString& text) {
    lbState->setText(text);
    lbState->setVisible(!text.isEmpty());
}

void TfrmPodcastPreview::Localize() {
    tvEpisodes->setAccessibleName(OwnText("Caption"));
    btnPlay->setText(OwnText("Play"));
    btnStop->setText(OwnText("Play", 1));
    if (FFeed) lbEpisodes->setText(FormatText(OwnText("Episodes"), QLocale().toString(FFeed->EpisodeCount())));
    FModel->Localize();
}

void TfrmPodcastPreview::UpdateControls() {
    btnPlay->setEnabled(tvEpisodes->currentIndex().flags() & Qt::ItemIsEnabled);
    btnStop->setEnabled(!FPlayed.isEmpty());
}

void TfrmPodcastPreview::Play() {
    const TPodcastEpisode* const episode = FModel->At(tvEpisodes->currentIndex());
    const auto player = HostService<IVEXAServicePlayer>();
    if (!episode || !player) return;
    const QString address = AddressOf(*FFeed, *episode);
    if (address.isEmpty()) return;
    const auto error = CreateHostObject<IVEXAErrorInfo>();
    // A host without previews plays the address like any other.
    const auto preview = Query<IVEXAPlayerPreview>(player.Get());
    const HResult result = preview ? preview->PlayPreview(InfoOf(*FFeed, *episode).Get(), error.Get())
                                   : player->Play(ToHostString(address).Get(), error.Get());
    if (Succeeded(result)) FPlayed = address;
    UpdateControls();
    if (Succeeded(result)) return;
    Ref<IVEXAString> message;
    error->GetInfo(nullptr, message.Put(), nullptr);
    ShowMessageBox(this, QMessageBox::Warning, TextForLabel(FromHostString(message.Get()), kMaxReason));
}

/// Stops what was started here, and nothing else.
void TfrmPodcastPreview::Stop() {
    if (const auto player = HostService<IVEXAServicePlayer>(); player && PlayingFile() == FPlayed) player->Stop();
    FPlayed.clear();
    UpdateControls();
}

}  // namespace podcasts
