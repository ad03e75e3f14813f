#include "Podcasts.Plugin.Dialogs.Find.h"

#include "Podcasts.Plugin.Dialogs.Find.Delegate.h"
#include "Podcasts.Plugin.Dialogs.Preview.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QLocale>
#include <QPainter>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>

#include <algorithm>
#include <chrono>

namespace podcasts {

using namespace vexa;
using namespace std::chrono_literals;

namespace {

constexpr auto kAfterTyping = 400ms;  // so that a word is searched for, not each of its letters
constexpr auto kAfterMoving = 300ms;
constexpr QSize kWindow(760, 560);
constexpr int kMargin = 10, kSpacing = 6;
constexpr qsizetype kMaxReason = 300, kMaxTitle = 100;  // letters of what servers say

QString OwnText(const char* key) {
    return LocalizedText(u"Podcasts.Find\\" + QLatin1String(key));
}

QString Filled(const char* key, const QString& value) {
    return FormatText(OwnText(key), value);
}

/// A label of one line, which ends in "…" where there is no room; its tool tip is the whole text. The text is plain.
class OneLineLabel final : public QLabel {
public:
    OneLineLabel() { setTextFormat(Qt::PlainText); }

    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
        style()->drawItemText(&painter, contentsRect(), Qt::AlignLeading | Qt::AlignVCenter, palette(), isEnabled(),
                              shown, foregroundRole());
    }
    bool event(QEvent* event) override {
        if (event->type() == QEvent::ToolTip) setToolTip(Qt::convertFromPlainText(text()));
        return QLabel::event(event);
    }
};

template <class Control>
Control* Named(Control* control, const char* name) {
    control->setObjectName(QLatin1String(name));
    return control;
}

}  // namespace

/// Passes on what a search finds, as long as the window exists and has begun no other search.
class TfrmPodcastFind::FinderEvents : public Implements<TInterfacedObjectEx, IVEXAMLFinderEvents> {
public:
    explicit FinderEvents(TfrmPodcastFind& window) : FWindow(window.FLinks) {}
    std::int64_t Search = 0;

    void OnFound(IVEXAMLFound* found) noexcept override {
        With([&](TfrmPodcastFind& window) { window.Found(found); });
    }
    void OnSourceDone(IVEXAString* source, HResult result, IVEXAString* text) noexcept override {
        With([&](TfrmPodcastFind& window) {
            window.SourceDone(FromHostString(source), result == S_OK ? QString() : FromHostString(text));
        });
    }
    void OnCompleted() noexcept override {
        With([&](TfrmPodcastFind& window) { window.Completed(); });
    }

private:
    template <class Act>
    void With(Act act) noexcept {
        GuardedCall("showing what a search has found", [&] {
            if (TfrmPodcastFind* const window = FWindow.Get(); window && window->FSearch == Search) act(*window);
        });
    }

    const Link<TfrmPodcastFind> FWindow;
};

/// What became of the podcasts that were subscribed to together.
class TfrmPodcastFind::SubscribingEvents : public Implements<TInterfacedObjectEx, IVEXAMLSubscriptionEvents> {
public:
    SubscribingEvents(TfrmPodcastFind& window, QStringList addresses)
        : FWindow(window.FLinks), FLeft(std::move(addresses)) {}

    void OnSubscribed(IVEXAString* address, HResult result, IVEXAString* text) noexcept override {
        GuardedCall("showing a subscription", [&] {
            const bool isSubscribed = result == S_OK || result == E_ABORT;
            const QString what = TextForLabel(FromHostString(text), isSubscribed ? kMaxTitle : kMaxReason);
            if (isSubscribed) {
                FTitles += what;
                return;
            }
            // Without a feed the address is the one that was asked for.
            FLeft.removeOne(FromHostString(address));
            if (result != S_FALSE) FFailures += what;
        });
    }
    void OnCompleted() noexcept override {
        GuardedCall("showing what was subscribed to", [&] {
            TfrmPodcastFind* const window = FWindow.Get();
            if (!window) return;
            // Feeds that have moved are stored under other addresses.
            for (const QString& address : FLeft) window->FModel.MarkSubscribed(address);
            window->Subscribed(FTitles, FFailures);
        });
    }

private:
    const Link<TfrmPodcastFind> FWindow;
    QStringList FLeft, FTitles, FFailures;
};

TfrmPodcastFind::TfrmPodcastFind(WindowHandle owner, Ref<IUnknown> storage)
    : TPodcastsCustomForm(owner),
      FStorage(std::move(storage)),
      edWords(Named(new QLineEdit, "edWords")),
      btnPopular(Named(new QPushButton, "btnPopular")),
      btnPreview(Named(new QPushButton, "btnPreview")),
      btnSubscribe(Named(new QPushButton, "btnSubscribe")),
      btnClose(Named(new QPushButton, "btnClose")),
      FPages(new QStackedWidget),
      lbPlace(Named(new QLabel, "lbPlace")),
      lbStatus(Named(new OneLineLabel, "lbStatus")),
      lvFound(Named(new QListView, "lvFound")),
      FSplitter(new QSplitter),
      FPreview(Named(new TfrmPodcastPreview, "Preview")),
      FPictures([this](const QString& address) { FModel.PictureArrived(address); }) {
    setModal(false);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    LayOut();
    Localize();

    FTyping.setSingleShot(true);
    FTyping.setInterval(kAfterTyping);
    FMoving.setSingleShot(true);
    FMoving.setInterval(kAfterMoving);
    connect(&FTyping, &QTimer::timeout, this, [this] { Search(edWords->text()); });
    connect(&FMoving, &QTimer::timeout, this, [this] { Preview(); });
    connect(edWords, &QLineEdit::textEdited, this, [this] { edWordsEdited(); });
    connect(btnPopular, &QPushButton::clicked, this, [this] {
        edWords->clear();
        Search({});
    });
    connect(btnPreview, &QPushButton::clicked, this, [this] { btnPreviewClick(); });
    connect(btnSubscribe, &QPushButton::clicked, this, [this] { RunEvent(*this, [this] { btnSubscribeClick(); }); });
    connect(btnClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(lvFound, &QListView::doubleClicked, this, [this] { btnPreviewClick(); });
    connect(lvFound->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { UpdateControls(); });
    connect(lvFound->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] {
        UpdateControls();
        if (FPreview->isVisible()) FMoving.start();
    });
    connect(&FModel, &QAbstractItemModel::dataChanged, this, [this] { UpdateControls(); });
    connect(&FModel, &QAbstractItemModel::modelReset, this, [this] { UpdateControls(); });
    for (QWidget* const watched :
         {static_cast<QWidget*>(edWords), static_cast<QWidget*>(lvFound), FPreview->Episodes()})
        watched->installEventFilter(this);
    ShowSources();
    UpdateControls();
}

TfrmPodcastFind::~TfrmPodcastFind() {
    FLinks.Invalidate();
    CancelSearch();
    // The list ends after the model, and would tell this object of it.
    lvFound->selectionModel()->disconnect(this);
}

void TfrmPodcastFind::LayOut() {
    edWords->setClearButtonEnabled(true);
    lbPlace->setTextFormat(Qt::PlainText);
    lbPlace->setWordWrap(true);
    lbPlace->setAlignment(Qt::AlignCenter);
    lbPlace->setForegroundRole(QPalette::PlaceholderText);
    lbPlace->setMargin(4 * kMargin);
    lvFound->setModel(&FModel);
    lvFound->setItemDelegate(new TPodcastFindDelegate(lvFound, FPictures));
    lvFound->setUniformItemSizes(true);
    lvFound->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lvFound->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    lvFound->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    lvFound->setAlternatingRowColors(true);
    lvFound->setMouseTracking(true);
    FPages->addWidget(lbPlace);
    FPages->addWidget(lvFound);
    FPreview->setContentsMargins(kSpacing, 0, 0, 0);
    FPreview->hide();
    FSplitter->addWidget(FPages);
    FSplitter->addWidget(FPreview);
    FSplitter->setChildrenCollapsible(false);

    auto* const field = new QHBoxLayout;
    field->setSpacing(kSpacing);
    field->addWidget(edWords, 1);
    field->addWidget(btnPopular);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(kSpacing);
    buttons->addWidget(lbStatus, 1);
    for (QPushButton* const button : {btnPopular, btnPreview, btnSubscribe, btnClose}) button->setAutoDefault(false);
    for (QPushButton* const button : {btnPreview, btnSubscribe, btnClose}) buttons->addWidget(button);
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    all->setSpacing(kMargin);
    all->addLayout(field);
    all->addWidget(FSplitter, 1);
    all->addLayout(buttons);
    resize(kWindow);
}

void TfrmPodcastFind::Localize() {
    setWindowTitle(OwnText("Caption"));
    edWords->setPlaceholderText(OwnText("edWords"));
    edWords->setAccessibleName(OwnText("edWords"));
    lvFound->setAccessibleName(OwnText("lvFound"));
    btnPopular->setText(OwnText("btnPopular"));
    btnPreview->setText(OwnText("btnPreview"));
    btnSubscribe->setText(OwnText("btnSubscribe"));
    btnClose->setText(OwnText("btnClose"));
    FPreview->Localize();
    for (QPushButton* const button : {btnPopular, btnPreview, btnSubscribe, btnClose})
        button->setMinimumWidth(button->sizeHint().width() + 2 * kSpacing);
}

void TfrmPodcastFind::Open(const QString& text) {
    show();
    raise();
    activateWindow();
    edWords->setFocus();
    if (text.trimmed().isEmpty()) return;
    edWords->setText(text);
    Search(text);
}

// ---- What is said ----

void TfrmPodcastFind::ShowSources() {
    QStringList lines;
    Ref<IVEXAObjectList> sources;
    const auto finder = Query<IVEXAMLFinder>(FStorage.Get());
    if (finder && Succeeded(finder->GetSources(sources.Put()))) {
        for (std::int32_t i = 0; i < sources->GetCount(); ++i) {
            Ref<IVEXAMLFindSource> source;
            if (Failed(sources->GetObject(i, IVEXAMLFindSource::IID, source.PutVoid()))) continue;
            const QString caption = ReadPropertyString(source.Get(), IVEXAMLFindSource::Caption);
            FCaptions.insert(ReadPropertyString(source.Get(), IVEXAMLFindSource::ID), caption);
            if (ReadPropertyInt32(source.Get(), IVEXAMLFindSource::IsAsked) != 0)
                lines += caption + u": " + ReadPropertyString(source.Get(), IVEXAMLFindSource::Learns);
        }
    }
    if (lines.isEmpty()) return ShowPlace(OwnText("Nobody"));
    ShowPlace(OwnText("Learns") + u"\n\n" + lines.join(u'\n') + u"\n\n" + OwnText("Keys"));
}

void TfrmPodcastFind::ShowPlace(const QString& text) {
    lbPlace->setText(text);
    FPages->setCurrentWidget(lbPlace);
}

void TfrmPodcastFind::ShowStatus(const QString& text) {
    lbStatus->setText(text);
}

void TfrmPodcastFind::UpdateControls() {
    btnSubscribe->setEnabled(FSubscribing == 0 && !SelectedAddresses().isEmpty());
    btnPreview->setEnabled(lvFound->currentIndex().isValid());
}

// ---- Searching ----

void TfrmPodcastFind::edWordsEdited() {
    CancelSearch();
    if (!edWords->text().trimmed().isEmpty()) return FTyping.start();
    FTyping.stop();
    FWords.clear();
    FModel.Clear();
    ShowStatus({});
    ShowSources();
}

void TfrmPodcastFind::Search(const QString& words) {
    FTyping.stop();
    CancelSearch();
    const auto finder = Query<IVEXAMLFinder>(FStorage.Get());
    if (!finder) return;
    FWords = words;
    FIsOld = true;
    FFailures.clear();
    FNews.clear();
    const auto events = NewObject<FinderEvents>(*this);
    std::int64_t search = 0;
    if (Failed(finder->Find(ToHostString(words).Get(), 0, events.Get(), &search))) return;
    events->Search = FSearch = search;
    if (FModel.rowCount() == 0) ShowPlace(OwnText("Asking"));
    ShowStatus(OwnText("Asking"));
}

void TfrmPodcastFind::CancelSearch() {
    if (FSearch == 0) return;
    if (const auto finder = Query<IVEXAMLFinder>(FStorage.Get())) finder->CancelSearch(FSearch);
    FSearch = 0;
}

void TfrmPodcastFind::Found(IVEXAMLFound* found) {
    // What was found before stays until there is something else to show.
    if (std::exchange(FIsOld, false)) FModel.Clear();
    TPodcastFindEntry entry;
    entry.Address = ReadPropertyString(found, IVEXAMLFound::Address);
    entry.Title = ReadPropertyString(found, IVEXAMLFound::Title);
    entry.Author = ReadPropertyString(found, IVEXAMLFound::Author);
    entry.Description = ReadPropertyString(found, IVEXAMLFound::Description);
    entry.Picture = ReadPropertyString(found, IVEXAMLFound::PictureAddress);
    found->GetValueAsInt64(IVEXAMLFound::RowCount, &entry.Episodes);
    found->GetValueAsFloat(IVEXAMLFound::Newest, &entry.Newest);
    entry.IsSubscribed = ReadPropertyInt32(found, IVEXAMLFound::IsSubscribed) != 0;
    FModel.Put(std::move(entry));
    FPages->setCurrentWidget(lvFound);
}

void TfrmPodcastFind::SourceDone(const QString& source, const QString& error) {
    if (error.isEmpty()) return;
    const QString caption = FCaptions.value(source);
    const QString reason = TextForLabel(error, kMaxReason);
    FFailures += caption.isEmpty() ? reason : QString(caption + u": " + reason);
    ShowResult();
}

void TfrmPodcastFind::Completed() {
    FSearch = 0;
    if (std::exchange(FIsOld, false)) FModel.Clear();
    if (FModel.rowCount() == 0) ShowPlace(FFailures.isEmpty() ? OwnText("Nothing") : FFailures.join(u'\n'));
    ShowResult();
}

void TfrmPodcastFind::ShowResult() {
    QStringList parts;
    if (!FNews.isEmpty())
        parts += FNews;
    else if (FSearch != 0)
        parts += OwnText("Asking");
    else if (FModel.rowCount() > 0)
        parts += Filled("Found", QLocale().toString(FModel.rowCount()));
    // Without podcasts the failures stand in the list's place.
    if (FModel.rowCount() > 0 || FSearch != 0) parts += FFailures;
    ShowStatus(parts.join(QStringLiteral(" · ")));
}

// ---- Keys ----

bool TfrmPodcastFind::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto& key = *static_cast<QKeyEvent*>(event);
        const auto modifiers = key.modifiers() & ~Qt::KeypadModifier;
        if (modifiers == Qt::NoModifier && HandleKey(watched, key.key())) return true;
    }
    return TPodcastsCustomForm::eventFilter(watched, event);
}

bool TfrmPodcastFind::HandleKey(QObject* watched, int key) {
    const bool isReturn = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (watched == edWords) {
        if (isReturn && (FTyping.isActive() || edWords->text() != FWords)) {
            if (!edWords->text().trimmed().isEmpty()) Search(edWords->text());
            return true;
        }
        if (!isReturn && key != Qt::Key_Down) return false;
        FocusList();
        return true;
    }
    if (watched == FPreview->Episodes()) {
        if (key != Qt::Key_Escape) return false;
        lvFound->setFocus();
        return true;
    }
    if (isReturn) {
        btnSubscribe->click();
        return true;
    }
    if (key == Qt::Key_Space) {
        btnPreviewClick();
        return true;
    }
    if (key != Qt::Key_Up || lvFound->currentIndex().row() > 0) return false;
    edWords->setFocus();
    return true;
}

void TfrmPodcastFind::FocusList() {
    if (FModel.rowCount() == 0 || FPages->currentWidget() != lvFound) return;
    // Before the focus, with which a view without a current row gets one that is not selected.
    if (!lvFound->currentIndex().isValid()) lvFound->setCurrentIndex(FModel.index(0));
    lvFound->setFocus();
}

// ---- Subscribing ----

QStringList TfrmPodcastFind::SelectedAddresses() const {
    QModelIndexList selected = lvFound->selectionModel()->selectedIndexes();
    std::sort(selected.begin(), selected.end());
    QStringList addresses;
    for (const QModelIndex& at : selected)
        if (const TPodcastFindEntry& entry = FModel.At(at.row()); !entry.IsSubscribed) addresses += entry.Address;
    return addresses;
}

void TfrmPodcastFind::btnSubscribeClick() {
    const QStringList addresses = SelectedAddresses();
    const auto storage = Query<IVEXAMLSubscriptionStorage>(FStorage.Get());
    if (addresses.isEmpty() || !storage) return;
    const auto list = CreateHostObject<IVEXAObjectList>();
    for (const QString& address : addresses) RaiseIfFailed(list->Add(ToHostString(address).Get()));
    const auto events = NewObject<SubscribingEvents>(*this, addresses);
    RaiseIfFailed(storage->Subscribe(list.Get(), events.Get()));
    ++FSubscribing;
    FNews = OwnText("Subscribing");
    ShowResult();
    UpdateControls();
}

void TfrmPodcastFind::Subscribed(const QStringList& titles, const QStringList& failures) {
    --FSubscribing;
    QStringList news;
    if (!titles.isEmpty()) news += Filled("Done", titles.join(QStringLiteral(", ")));
    FNews = (news + failures).join(QStringLiteral(" · "));
    ShowResult();
    UpdateControls();
}

// ---- The preview ----

void TfrmPodcastFind::btnPreviewClick() {
    const QModelIndex current = lvFound->currentIndex();
    if (!current.isValid()) return;
    if (FPreview->isVisible() && FPreviewed == FModel.At(current.row()).Address)
        return FPreview->Episodes()->setFocus();
    if (!FPreview->isVisible()) {
        FPreview->show();
        if (width() < kWindow.width() * 3 / 2 && !isMaximized()) resize(kWindow.width() * 3 / 2, height());
        FSplitter->setSizes({width() * 11 / 20, width() * 9 / 20});
    }
    Preview();
}

void TfrmPodcastFind::Preview() {
    FMoving.stop();
    const QModelIndex current = lvFound->currentIndex();
    const QString address = current.isValid() ? FModel.At(current.row()).Address : QString();
    if (address == FPreviewed) return;
    FPreviewed = address;
    FPreview->Open(address);
}

}  // namespace podcasts
