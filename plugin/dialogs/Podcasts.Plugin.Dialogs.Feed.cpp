#include "Podcasts.Plugin.Dialogs.Feed.h"

#include "VEXA.Runtime.ChoiceDialog.h"
#include "VEXA.Runtime.Url.h"
#include "apiWrappers.h"

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QUrl>

#include <algorithm>

namespace podcasts {

using namespace vexa;

namespace {

constexpr qsizetype kMaxReasonLength = 300;  // letters of the message when a fetch failed
constexpr int kMargin = 8;
constexpr int kEditWidth = 431;
constexpr int kLettersInEdit = 50;  // minimum width of the edit, for large fonts
constexpr QSize kButtonSize(96, 25);

QString TextOf(const QMimeData& data) {
    const QList<QUrl> urls = data.urls();
    return urls.size() == 1 && urls[0].isLocalFile() ? urls[0].toLocalFile() : data.text();
}

void ShowAlreadySubscribed(QWidget* owner) {
    ShowMessageBox(owner, QMessageBox::Warning, LocalizedText(QStringLiteral("Podcasts\\MSG1")));
}

/// Handles drops on a control in place of the control itself.
class DropTarget final : public QObject {
public:
    using Over = std::function<bool(const QMimeData&)>;
    using Drop = std::function<void(const QMimeData&)>;

    DropTarget(QWidget& control, Over onOver, Drop onDrop)
        : QObject(&control), FOnOver(std::move(onOver)), FOnDrop(std::move(onDrop)) {
        control.setAcceptDrops(true);
        control.installEventFilter(this);
    }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove && event->type() != QEvent::Drop)
            return false;
        auto& drop = *static_cast<QDropEvent*>(event);
        if (!FOnOver(*drop.mimeData())) {
            drop.ignore();
            return true;
        }
        // Copy, so that the source keeps its data.
        drop.setDropAction(Qt::CopyAction);
        drop.accept();
        if (event->type() == QEvent::Drop) FOnDrop(*drop.mimeData());
        return true;
    }

private:
    Over FOnOver;
    Drop FOnDrop;
};

}  // namespace

void TfrmPodcastFeed::Subscribe(WindowHandle owner, TPodcastClient& client) {
    if (!CanShowWindows("subscribing in a dialog")) return;
    const Link<TPodcastClient> link(client.Links());
    TOpenDialog<TfrmPodcastFeed> dialog(owner, client);
    const bool isOK = dialog.ExecuteOK();
    if (dialog.Get() && dialog->FIsSearchWanted) {
        const QString text = dialog->edFeedURL->text();
        dialog.Close();
        if (const TSearchHook search = SearchHook(); search && link.Get())
            search(owner, IsFeedLocation(text) ? QString() : text.trimmed());
        return;
    }
    if (!isOK || !dialog->FFeed) return;
    TPodcastClient* const present = link.Get();
    // Another program may have subscribed to the feed meanwhile, and may have marked or downloaded episodes since.
    if (present && !present->SubscribeNew(*dialog->FFeed)) ShowAlreadySubscribed(dialog->parentWidget());
}

TfrmPodcastFeed::TSearchHook& TfrmPodcastFeed::SearchHook() {
    static TSearchHook hook;
    return hook;
}

void TfrmPodcastFeed::SetSearchHook(TSearchHook hook) {
    SearchHook() = std::move(hook);
}

void TfrmPodcastFeed::Edit(WindowHandle owner, TPodcastClient& client, const QString& feedURL) {
    if (!CanShowWindows("editing a subscription in a dialog")) return;
    const Link<TPodcastClient> link(client.Links());
    TOpenDialog<TfrmPodcastFeed> dialog(owner, client);
    dialog->SetEditedURL(feedURL);
    if (!dialog.ExecuteOK()) return;
    if (TPodcastClient* const present = link.Get()) present->ChangeFeedURL(feedURL, dialog->Location());
}

TfrmPodcastFeed::TfrmPodcastFeed(WindowHandle owner, TPodcastClient& client)
    : TPodcastsCustomForm(owner),
      edFeedURL(new QLineEdit),
      lbDownloadHint(new QLabel),
      btnOK(new QPushButton),
      btnCancel(new QPushButton),
      btnSearch(new QPushButton),
      FClient(client.Links()) {
    edFeedURL->setObjectName(QStringLiteral("edFeedURL"));
    edFeedURL->setMinimumWidth(std::max(kEditWidth, kLettersInEdit * fontMetrics().averageCharWidth()));
    lbDownloadHint->setObjectName(QStringLiteral("lbDownloadHint"));
    lbDownloadHint->setTextFormat(Qt::PlainText);
    lbDownloadHint->setEnabled(false);
    lbDownloadHint->setForegroundRole(QPalette::PlaceholderText);  // greyed, but readable
    QSizePolicy keepsItsPlace = lbDownloadHint->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    lbDownloadHint->setSizePolicy(keepsItsPlace);
    btnOK->setObjectName(QStringLiteral("btnOK"));
    btnOK->setMinimumSize(kButtonSize);
    btnOK->setDefault(true);
    btnCancel->setObjectName(QStringLiteral("btnCancel"));
    btnCancel->setMinimumSize(kButtonSize);
    btnCancel->setAutoDefault(false);
    btnSearch->setObjectName(QStringLiteral("btnSearch"));
    btnSearch->setAutoDefault(false);
    btnSearch->setFlat(true);
    btnSearch->setCursor(Qt::PointingHandCursor);
    QPalette asLink = btnSearch->palette();
    asLink.setColor(QPalette::ButtonText, asLink.color(QPalette::Link));
    btnSearch->setPalette(asLink);
    btnSearch->hide();

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    // In one place: there is nothing to search for while a feed is fetched.
    auto* const left = new QGridLayout;
    left->addWidget(lbDownloadHint, 0, 0);
    left->addWidget(btnSearch, 0, 0, Qt::AlignLeft | Qt::AlignVCenter);
    buttons->addLayout(left, 1);
    buttons->addWidget(btnOK);
    buttons->addWidget(btnCancel);
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    all->setSpacing(kMargin + 1);
    all->addWidget(edFeedURL);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);

    const auto text = [](const char* key) { return LocalizedText(QString::fromLatin1(key)); };
    setWindowTitle(text("Podcasts\\MSG0"));
    btnOK->setText(text("CommonDialogs\\B1"));
    btnCancel->setText(text("CommonDialogs\\B2"));
    edFeedURL->setPlaceholderText(text("Podcasts\\MSG3"));
    edFeedURL->setAccessibleName(edFeedURL->placeholderText());
    lbDownloadHint->setText(text("MSG\\73"));
    btnSearch->setText(text("Podcasts\\SearchByName"));

    auto* const dtFeedURL = new DropTarget(
        *edFeedURL, [this](const QMimeData& dragged) { return dtFeedURLOver(dragged); },
        [this](const QMimeData& dragged) { dtFeedURLDrop(dragged); });
    dtFeedURL->setObjectName(QStringLiteral("dtFeedURL"));
    connect(edFeedURL, &QLineEdit::textChanged, this, [this] { edFeedURLChange(); });
    connect(btnOK, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { btnOKClick(); }); });
    connect(btnCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(btnSearch, &QPushButton::clicked, this, [this] {
        FIsSearchWanted = true;
        reject();
    });

    // Ignore a text that merely begins with an address, or only looks like an address.
    const QString copied = QApplication::clipboard()->text().trimmed();
    if (IsWholeFeedAddress(copied)) edFeedURL->setText(copied);
    edFeedURL->selectAll();
    edFeedURL->setFocus();
    UpdateControls();
}

TfrmPodcastFeed::~TfrmPodcastFeed() {
    FLinks.Invalidate();
    FFetch.reset();
}

void TfrmPodcastFeed::SetEditedURL(const QString& feedURL) {
    FEditedURL = feedURL;
    edFeedURL->setText(feedURL);
    edFeedURL->selectAll();
    UpdateControls();
}

/// The feed's location according to the edit. An unchanged text stands for exactly the stored address.
QString TfrmPodcastFeed::Location() const {
    const QString text = edFeedURL->text();
    return text == FEditedURL ? text : NormalizedFeedLocation(text);
}

void TfrmPodcastFeed::UpdateControls() {
    const bool isFetching = FFetch != nullptr;
    const QString location = Location();
    const bool isAcceptable = IsFeedLocation(location);
    lbDownloadHint->setVisible(isFetching);
    btnSearch->setVisible(!isFetching && FEditedURL.isEmpty() && SearchHook());
    btnOK->setEnabled(!isFetching && isAcceptable);
    QString missing;
    if (isFetching)
        missing = lbDownloadHint->text();
    else if (!isAcceptable)
        missing =
            LocalizedText(location.isEmpty() ? QStringLiteral("Podcasts\\MSG13") : QStringLiteral("Podcasts\\MSG14"));
    btnOK->setToolTip(missing);
}

void TfrmPodcastFeed::btnOKClick() {
    TPodcastClient* const client = FClient.Get();
    if (!client) return reject();
    if (Location() != FEditedURL)
        for (const QString& location : FeedLocationsOf(edFeedURL->text()))
            if (client->IsSubscribed(location)) return ShowAlreadySubscribed(this);
    if (!FEditedURL.isEmpty()) return accept();
    DownloadFeed(edFeedURL->text());
    UpdateControls();
}

void TfrmPodcastFeed::DownloadFeed(const QString& text) {
    if (FFetch) return;
    FLastError.clear();
    FFetch = std::make_unique<TPodcastFeedFetch>(text, [this](TPodcastFoundFeed& found) { FetchComplete(found); });
}

void TfrmPodcastFeed::FetchComplete(TPodcastFoundFeed& found) {
    FFetch.reset();
    FFeed = std::move(found.Feed);
    FLastError = found.IsUnknownFormat ? QString() : LocalizedText(found.Error);
    UpdateControls();
    if (!isVisible()) return;  // the dialog has its result already
    if (!FClient.Get()) return reject();
    if (FFeed) return accept();
    if (!found.Choices.empty()) return ChooseFeed(found.Choices);
    QString message = LocalizedText(QStringLiteral("Podcasts\\MSG2"));
    if (!FLastError.isEmpty()) message += QStringLiteral("\r\n\r\n") + TextForLabel(FLastError, kMaxReasonLength);
    ShowMessageBox(this, QMessageBox::Critical, message);
}

void TfrmPodcastFeed::ChooseFeed(const std::vector<TPodcastFeedLink>& feeds) {
    std::vector<ChoiceDialog::Row> rows;
    rows.reserve(feeds.size());
    for (const TPodcastFeedLink& feed : feeds) rows.push_back({feed.Title, MaskedUrl(feed.Address)});
    const ChoiceDialog::Texts texts{windowTitle(), LocalizedText(QStringLiteral("Podcasts\\MSG16")), btnOK->text(),
                                    btnCancel->text()};
    const Link<TfrmPodcastFeed> link(FLinks);
    TOpenDialog<ChoiceDialog> dialog(texts, rows, this);
    if (!dialog.ExecuteOK() || !link.Get() || !isVisible()) return;
    const int choice = dialog->Choice();
    if (choice < 0) return;
    edFeedURL->setText(feeds[static_cast<std::size_t>(choice)].Address);
    btnOKClick();
}

bool TfrmPodcastFeed::dtFeedURLOver(const QMimeData& dragged) const {
    return dragged.hasText() && IsFeedLocation(TextOf(dragged));
}

void TfrmPodcastFeed::dtFeedURLDrop(const QMimeData& dragged) {
    if (!dtFeedURLOver(dragged)) return;
    // If the text may mean more than one address, show it unchanged.
    const QStringList locations = FeedLocationsOf(TextOf(dragged));
    edFeedURL->setText(locations.size() == 1 ? locations.first() : TextOf(dragged).trimmed());
}

}  // namespace podcasts
