#include "Podcasts.Plugin.Dialogs.Settings.h"

#include "Podcasts.Plugin.Dialogs.h"
#include "VEXA.Runtime.Files.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTextLayout>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace podcasts {

using namespace vexa;

namespace {

const QString kPrefix = QStringLiteral("Podcasts.Settings\\");
const QString kBrowse = QStringLiteral("...");
constexpr int kLastUpdates = static_cast<int>(kUpdateIntervals.size()) - 1;
constexpr QSize kPageSize(434, 500);
constexpr int kMargin = 8;
constexpr int kSpacing = 6;

QString CommonText(const char* name) {
    return LocalizedText(QStringLiteral("CommonDialogs\\") + QLatin1String(name));
}

/// The button's image for 96, 144 and 192 DPI; the toolkit chooses the one that fits.
QIcon Images() {
    QIcon images;
    for (const char* const size : {"", "144", "192"})
        images.addFile(ResourcePath(QStringLiteral("MACROS") + QLatin1String(size), QStringLiteral("PNG")));
    return images;
}

/// A check box that wraps its caption when there is not enough room.
class WrappingCheckBox final : public QCheckBox {
public:
    WrappingCheckBox() {
        QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred, QSizePolicy::CheckBox);
        policy.setHeightForWidth(true);
        setSizePolicy(policy);
    }

    QSize minimumSizeHint() const override {
        int longest = 0;
        for (const QString& word : text().split(u' '))
            longest = std::max(longest, fontMetrics().horizontalAdvance(word));
        return {SizeAround({longest, 0}).width(), QCheckBox::minimumSizeHint().height()};
    }
    int heightForWidth(int width) const override {
        const QSize lines = fontMetrics().size(Qt::TextShowMnemonic, Wrapped(width));
        return std::max(SizeAround(lines).height(), QCheckBox::sizeHint().height());
    }

protected:
    void initStyleOption(QStyleOptionButton* option) const override {
        QCheckBox::initStyleOption(option);
        option->text = Wrapped(width());
    }

private:
    QSize SizeAround(const QSize& contents) const {
        QStyleOptionButton option;
        QCheckBox::initStyleOption(&option);
        return style()->sizeFromContents(QStyle::CT_CheckBox, &option, contents, this);
    }
    QString Wrapped(int width) const {
        QTextLayout layout(text(), font());
        const int room = width - SizeAround({0, 0}).width();
        QStringList lines;
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(room);
            lines += text().mid(line.textStart(), line.textLength()).trimmed();
        }
        layout.endLayout();
        return lines.join(u'\n');
    }
};

template <class Control>
Control* Named(Control* control, const char* name) {
    control->setObjectName(QLatin1String(name));
    return control;
}

}  // namespace

TfrmPodcastsSettings::TfrmPodcastsSettings(QWidget* parent, TPodcastClient& client,
                                           std::shared_ptr<TPodcastFindOptions> find)
    : QScrollArea(parent),
      GB1(Named(new QGroupBox, "GB1")),
      cbUpdates(Named(new QComboBox, "cbUpdates")),
      CB1(Named(new WrappingCheckBox, "CB1")),
      CB3(Named(new WrappingCheckBox, "CB3")),
      GB2(Named(new QGroupBox, "GB2")),
      L1(Named(new QLabel, "L1")),
      edDownloadPath(Named(new QLineEdit, "edDownloadPath")),
      edDownloadPathButtons0(Named(new QToolButton, "edDownloadPathButtons0")),
      edDownloadPathButtons1(Named(new QToolButton, "edDownloadPathButtons1")),
      CB2(Named(new WrappingCheckBox, "CB2")),
      GB3(Named(new QGroupBox, "GB3")),
      CB4(Named(new WrappingCheckBox, "CB4")),
      GB4(Named(new QGroupBox, "GB4")),
      L2(Named(new QLabel, "L2")),
      L3(Named(new QLabel, "L3")),
      edKey(Named(new QLineEdit, "edKey")),
      edSecret(Named(new QLineEdit, "edSecret")),
      pmMacrosLegend(Named(new QMenu(this), "pmMacrosLegend")),
      FClient(client.Links()),
      FFind(std::move(find)) {
    for (int value = 0; value <= kLastUpdates; ++value) cbUpdates->addItem(QString(), value);
    L1->setTextFormat(Qt::PlainText);
    L1->setWordWrap(true);
    L1->setBuddy(edDownloadPath);
    edDownloadPath->setContextMenuPolicy(Qt::CustomContextMenu);
    edDownloadPathButtons0->setText(kBrowse);
    edDownloadPathButtons1->setIcon(Images());
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        const char* const id = PodcastDirectories()[i].ID;
        cbDirectories[i] = Named(new WrappingCheckBox, id);
        lbDirectories[i] = Named(new QLabel, "");
        lbDirectories[i]->setTextFormat(Qt::PlainText);
        lbDirectories[i]->setWordWrap(true);
        lbDirectories[i]->setForegroundRole(QPalette::PlaceholderText);
        connect(cbDirectories[i], &QCheckBox::clicked, this, [this] { ModifiedHandler(); });
    }
    edSecret->setEchoMode(QLineEdit::Password);
    for (const auto& [label, edit] : {std::pair(L2, edKey), std::pair(L3, edSecret)}) {
        label->setTextFormat(Qt::PlainText);
        label->setBuddy(edit);
        connect(edit, &QLineEdit::textEdited, this, [this] { ModifiedHandler(); });
    }
    LayOut();

    // Connect signals that only the user causes, since the page itself sets the controls, too.
    for (QCheckBox* const box : {CB1, CB2, CB3, CB4})
        connect(box, &QCheckBox::clicked, this, [this] { ModifiedHandler(); });
    connect(cbUpdates, &QComboBox::activated, this, [this] { ModifiedHandler(); });
    connect(edDownloadPath, &QLineEdit::textChanged, this, [this] { ModifiedHandler(); });
    connect(edDownloadPath, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& at) { pmMacrosLegend->popup(edDownloadPath->mapToGlobal(at)); });
    connect(edDownloadPathButtons0, &QToolButton::clicked, this,
            [this] { RunEvent(*this, [this] { edDownloadPathButtons0Click(); }); });
    connect(edDownloadPathButtons1, &QToolButton::clicked, this, [this] { edDownloadPathButtons1Click(); });
    connect(pmMacrosLegend, &QMenu::aboutToShow, this, [this] { pmMacrosLegendPopup(); });
}

QLayout* TfrmPodcastsSettings::LayOutPath() {
    auto* const path = new QHBoxLayout;
    path->setSpacing(2);
    path->addWidget(edDownloadPath, 1);
    for (QToolButton* const button : {edDownloadPathButtons0, edDownloadPathButtons1}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
        path->addWidget(button);
    }
    return path;
}

void TfrmPodcastsSettings::LayOut() {
    auto* const page = new QWidget;
    auto* const groups = new QVBoxLayout(page);
    groups->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    groups->setSpacing(kMargin);
    const auto fill = [&](QGroupBox* group, auto... parts) {
        auto* const column = new QVBoxLayout(group);
        column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
        column->setSpacing(kSpacing);
        const auto add = [&](auto* part) {
            if constexpr (std::is_base_of_v<QWidget, std::remove_pointer_t<decltype(part)>>)
                column->addWidget(part);
            else
                column->addLayout(part);
        };
        (add(parts), ...);
        groups->addWidget(group);
    };
    fill(GB1, cbUpdates, CB1, CB3);
    fill(GB2, L1, LayOutPath(), CB2);
    fill(GB3, CB4);
    fill(GB4, LayOutFinding());
    groups->addStretch();

    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setWidget(page);
    // Show the dialog's own background.
    page->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    resize(kPageSize);
}

QLayout* TfrmPodcastsSettings::LayOutFinding() {
    auto* const column = new QVBoxLayout;
    column->setSpacing(kSpacing);
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        auto* const directory = new QVBoxLayout;
        directory->setSpacing(1);
        column->addLayout(directory);
        directory->addWidget(cbDirectories[i]);
        // Below the check box's caption, not its box.
        const int indent =
            style()->pixelMetric(QStyle::PM_IndicatorWidth) + style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing);
        lbDirectories[i]->setContentsMargins(indent, 0, 0, 0);
        directory->addWidget(lbDirectories[i]);
        if (!PodcastDirectories()[i].NeedsKey) continue;
        auto* const key = new QFormLayout;
        key->setContentsMargins(indent, 0, 0, 0);
        key->setSpacing(kSpacing);
        key->setRowWrapPolicy(QFormLayout::WrapLongRows);
        key->addRow(L2, edKey);
        key->addRow(L3, edSecret);
        column->addLayout(key);
    }
    return column;
}

/// Wide enough for all captions on one line, whatever the font, but at least the page's own size.
QSize TfrmPodcastsSettings::sizeHint() const {
    return widget()->sizeHint().expandedTo({kPageSize.width(), 0});
}

/// Wide enough to need no horizontal scrolling.
QSize TfrmPodcastsSettings::minimumSizeHint() const {
    const int width = widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width();
    return {width, QScrollArea::minimumSizeHint().height()};
}

// ---- Notifications of the host ----

void TfrmPodcastsSettings::Load() {
    TPodcastClient* const client = FClient.Get();
    if (!client) return;
    const QSignalBlocker isNoChange(edDownloadPath);
    ShowOptions(client->Options(), *FFind);
}

void TfrmPodcastsSettings::ShowOptions(const TPodcastClientOptions& options, const TPodcastFindOptions& find) {
    CB1->setChecked(options.CheckUpdatesOnStartup());
    CB2->setChecked(options.DownloadNewEpisodesAutomatically());
    CB3->setChecked(options.ShowNotifications());
    CB4->setChecked(options.MarkEpisodesListenedOnStartPlayback);
    cbUpdates->setCurrentIndex(cbUpdates->findData(std::min<int>(options.CheckUpdates(), kLastUpdates)));
    edDownloadPath->setText(options.CacheFileNameTemplate());
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) cbDirectories[i]->setChecked(find.Directories[i].IsAsked);
    edKey->setText(find.Key);
    edSecret->setText(find.Secret);
}

void TfrmPodcastsSettings::Save() {
    TPodcastClient* const client = FClient.Get();
    if (!client) return;
    TPodcastClientOptions& options = client->Options();
    options.SetCheckUpdates(static_cast<std::uint8_t>(cbUpdates->currentData().toInt()));
    options.SetCheckUpdatesOnStartup(CB1->isChecked());
    options.SetCacheFileNameTemplate(edDownloadPath->text());
    options.SetDownloadNewEpisodesAutomatically(CB2->isChecked());
    options.SetShowNotifications(CB3->isChecked());
    options.MarkEpisodesListenedOnStartPlayback = CB4->isChecked();
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i)
        FFind->Directories[i].IsAsked = cbDirectories[i]->isChecked();
    FFind->Key = edKey->text().trimmed();
    FFind->Secret = edSecret->text().trimmed();
}

void TfrmPodcastsSettings::Reset() {
    ShowOptions(TPodcastClientOptions(), TPodcastFindOptions());
}

void TfrmPodcastsSettings::Localize() {
    LocalizeForm(*this, kPrefix);
    edDownloadPathButtons0->setText(kBrowse);  // the same in every language
    const int selected = cbUpdates->currentIndex();
    for (int i = 0; i < cbUpdates->count(); ++i)
        cbUpdates->setItemText(i, LocalizedTextPart(kPrefix + QStringLiteral("V1"), i));
    cbUpdates->setCurrentIndex(selected);
    for (std::size_t i = 0; i < kPodcastDirectoryCount; ++i) {
        cbDirectories[i]->setText(QString::fromLatin1(PodcastDirectories()[i].Name));  // the same in every language
        lbDirectories[i]->setText(LocalizedText(Reason(PodcastDirectories()[i].Learns)));
    }
}

// ---- Events ----

void TfrmPodcastsSettings::ModifiedHandler() {
    if (const auto dialog = HostService<IVEXAServiceOptionsDialog>()) dialog->FrameModified(nullptr);
}

void TfrmPodcastsSettings::edDownloadPathButtons0Click() {
    TOpenDialog<QFileDialog> browser(this, CommonText("L1"));
    browser->setFileMode(QFileDialog::Directory);
    browser->setOption(QFileDialog::ShowDirsOnly);
    browser->setLabelText(QFileDialog::Accept, CommonText("B1"));
    browser->setLabelText(QFileDialog::Reject, CommonText("B2"));
    if (auto* const newFolder = browser->findChild<QToolButton*>(QStringLiteral("newFolderButton")))
        newFolder->setToolTip(CommonText("B3"));
    if (!browser.ExecuteOK()) return;
    const QString folder = QDir::toNativeSeparators(browser->selectedFiles().value(0));
    if (folder.isEmpty()) return;
    {
        const QSignalBlocker isToldBelow(edDownloadPath);
        edDownloadPath->setText(TPodcastClientOptions::CacheFileNameTemplateIn(WithTrailingDelimiter(folder)));
    }
    ModifiedHandler();
}

void TfrmPodcastsSettings::edDownloadPathButtons1Click() {
    QToolButton& button = *edDownloadPathButtons1;
    // If the button was pressed by a key, open the menu at the button rather than at the mouse.
    pmMacrosLegend->popup(button.underMouse() ? QCursor::pos() : button.mapToGlobal(button.rect().bottomLeft()));
}

void TfrmPodcastsSettings::pmMacrosLegendPopup() {
    pmMacrosLegend->clear();
    for (const QString& name : TPodcastInfoFormatString::Instance().Macros()) {
        const QString macro = u'%' + name + u'%';
        QAction* const item = pmMacrosLegend->addAction(macro);
        item->setToolTip(macro);
        connect(item, &QAction::triggered, this, [this, macro] { pmMacrosLegendClick(macro); });
    }
}

void TfrmPodcastsSettings::pmMacrosLegendClick(const QString& macro) {
    edDownloadPath->insert(macro);
    edDownloadPath->setFocus();
}

// ---- The page ----

QString TVEXAPodcastsOptionsFrame::GetPageCaption() {
    return LocalizedText(QStringLiteral("Podcasts\\Caption"));
}

QWidget* TVEXAPodcastsOptionsFrame::CreatePageForm(WindowHandle, QWidget* parentControl) {
    TPodcastClient* const client = FClient.Get();
    return client ? new TfrmPodcastsSettings(parentControl, *client, FFind) : nullptr;
}

void TVEXAPodcastsOptionsFrame::HandleNotification(std::int32_t notification) noexcept {
    auto* const form = static_cast<TfrmPodcastsSettings*>(Form());
    if (!form) return;
    GuardedCall("following the options dialog", [&] {
        switch (notification) {
            case Load:
                if (FOnLoad && FClient.Get()) FOnLoad();
                form->Load();
                break;
            case Localize:
                form->Localize();
                break;
            case Save:
                form->Save();
                if (FOnSave && FClient.Get()) FOnSave();
                break;
            case Reset:
                form->Reset();
                break;
            default:
                break;
        }
    });
}

}  // namespace podcasts
