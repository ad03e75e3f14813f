#include "DetailsPane.h"

#include "ClampedLabel.h"
#include "FileInfo.h"
#include "RowTexts.h"
#include "ShowNotes.h"

#include <QBoxLayout>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QToolButton>

namespace vexa::host {

namespace {

constexpr int kDelay = 60;  // milliseconds to wait in case the user moves on to the next row by keyboard
constexpr int kSmallCover = 64, kCover = 112, kLargeCover = 200;
constexpr int kTitleLines = 3;
// The least height of the pane, and those from which on there is room for covers of the three sizes above the notes.
constexpr int kMinHeight = 180, kRoomForSmallCover = 280, kRoomForCover = 420, kRoomForLargeCover = 560;

QLabel* PlainLabel(const char* name = "") {
    auto* label = new QLabel;
    label->setObjectName(QString::fromLatin1(name));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

}  // namespace

DetailsPane::DetailsPane(Host& host, QWidget* parent)
    : Pane(parent),
      FHost(host),
      FTexts(host.Language()),
      FCover(new QLabel),
      FTitle(new ClampedLabel(kTitleLines)),
      FContainer(PlainLabel("Faint")),
      FFigures(PlainLabel("Faint")),
      FNothing(PlainLabel("Faint")),
      FNotes(new ShowNotes),
      FContent(new QWidget) {
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    QFont bold = FTitle->font();
    bold.setPointSizeF(bold.pointSizeF() + 2);
    bold.setBold(true);
    FTitle->setFont(bold);
    FCover->setObjectName(QStringLiteral("DetailsCover"));
    FCover->setAlignment(Qt::AlignCenter);
    FNothing->setAlignment(Qt::AlignCenter);
    FNothing->setMargin(14);
    setMinimumHeight(kMinHeight);
    auto* content = new QVBoxLayout(FContent);
    content->setContentsMargins(14, 12, 14, 0);
    content->setSpacing(6);
    content->addWidget(FCover);
    content->addSpacing(4);
    content->addWidget(FTitle);
    content->addWidget(FContainer);
    content->addWidget(FFigures);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(4);
    for (const RowButton button : {RowButton::Play, RowButton::PlayNext, RowButton::Fetch, RowButton::Done}) {
        QToolButton*& shown = FButtons[static_cast<std::size_t>(button)];
        shown = new QToolButton;
        shown->setAutoRaise(true);
        shown->setFocusPolicy(Qt::StrongFocus);
        buttons->addWidget(shown);
        connect(shown, &QToolButton::clicked, this, [this, button] {
            if (button == RowButton::Play)
                Q_EMIT PlayWanted(FFile);
            else
                Q_EMIT ButtonClicked(button, FFile);
        });
    }
    buttons->addStretch(1);
    content->addLayout(buttons);
    content->addSpacing(4);
    content->addWidget(FNotes, 1);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(FContent, 1);
    whole->addWidget(FNothing, 1);
    FDelay.setSingleShot(true);
    FDelay.setInterval(kDelay);
    connect(&FDelay, &QTimer::timeout, this, &DetailsPane::Read);
    connect(FNotes, &ShowNotes::SeekWanted, this, [this](double seconds) { Q_EMIT SeekWanted(FFile, seconds); });
    FContent->hide();
    Localize();
    OnThemeChanged();
}

DetailsPane::~DetailsPane() = default;

void DetailsPane::Show(const QString& file, double date) {
    FDate = date;
    if (file != FFile) FFile = file;
    if (file.isEmpty()) {
        FFacts = {};
        FContent->hide();
        FNothing->show();
        FDelay.stop();
        return;
    }
    if (!FDelay.isActive()) FDelay.start();
}

void DetailsPane::Stop() {
    Show({}, 0);
    FFactReader.Stop();
}

auto DetailsPane::ReadFacts(FileInfoService& infos, const PlayerService& player, const QString& file) -> Facts {
    Facts facts;
    const Ref<FileInfo> info(new FileInfo);
    if (Failed(infos.GetFileInfo(MakeString(file).Get(), 0, info.Get()))) {
        facts.Title = file;
        return facts;
    }
    facts.Title = info->Text(IVEXAFileInfo::Title);
    facts.Container = info->Text(IVEXAFileInfo::Album);
    facts.Notes = info->Text(IVEXAFileInfo::Comment);
    info->GetValueAsFloat(IVEXAFileInfo::Duration, &facts.Duration);
    // The player resolves a file to its local copy if there is one.
    if (const QFileInfo source(player.Resolve(file).Source); source.isAbsolute() && source.isFile())
        facts.LocalSize = source.size();
    return facts;
}

void DetailsPane::Read() {
    if (FFile.isEmpty()) return;
    FFactReader.Run([this, file = FFile, infos = Ref<FileInfoService>(&FHost.FileInfos()),
                     player = Ref<PlayerService>(&FHost.Player())](const CancelCheck&) {
        const Facts facts = ReadFacts(*infos, *player, file);
        return [this, file, facts] {
            if (file == FFile) ShowFacts(facts);
        };
    });
}

void DetailsPane::ShowFacts(const Facts& facts) {
    const bool isShown = FContent->isVisibleTo(this);
    if (!isShown || facts != FFacts) {
        const bool areOtherNotes = !isShown || facts.Notes != FFacts.Notes || facts.Title != FFacts.Title;
        FFacts = facts;
        if (areOtherNotes) FNotes->SetNotes(facts.Notes);
    }
    FNothing->hide();
    FContent->show();
    Fill();
    ShowCover();
}

void DetailsPane::ShowCover() {
    const int side = height() >= kRoomForLargeCover   ? kLargeCover
                     : height() >= kRoomForCover      ? kCover
                     : height() >= kRoomForSmallCover ? kSmallCover
                                                      : 0;
    const QPixmap cover = side > 0 && FCoverSource && !FFacts.Container.isEmpty()
                              ? FCoverSource(FFile, FFacts.Container, side)
                              : QPixmap();
    FCover->setVisible(!cover.isNull());
    FCover->setFixedSize(side, side);
    FCover->setPixmap(cover);
}

void DetailsPane::Fill() {
    FTitle->SetText(FFacts.Title.simplified());
    FContainer->setText(FFacts.Container.simplified());
    FContainer->setVisible(!FFacts.Container.isEmpty());
    QStringList figures{ShownDateTime(FDate), ShownDuration(FFacts.Duration)};
    if (FFacts.LocalSize >= 0) figures += FTexts("LocalCopy", QLocale().formattedDataSize(FFacts.LocalSize));
    figures.removeAll({});
    FFigures->setText(figures.join(QStringLiteral("  ·  ")));
    FFigures->setVisible(!figures.isEmpty());
    FButtons[static_cast<std::size_t>(RowButton::Fetch)]->setVisible(FCanFetch && FFacts.LocalSize < 0);
}

void DetailsPane::SetButtons(bool canFetch, bool canMarkDone) {
    FCanFetch = canFetch;
    FButtons[static_cast<std::size_t>(RowButton::Fetch)]->setVisible(FCanFetch && FFacts.LocalSize < 0);
    FButtons[static_cast<std::size_t>(RowButton::Done)]->setVisible(canMarkDone);
}

void DetailsPane::OnThemeChanged() {
    for (std::size_t i = 0; i < FButtons.size(); ++i) FButtons[i]->setIcon(RowButtonIcon(static_cast<RowButton>(i)));
}

void DetailsPane::SetStorage(const QString& storageID) {
    FStorageID = storageID;
    FNothing->setText(FTexts.Rows(FStorageID, WindowTexts::RowText::NothingSelected));
}

void DetailsPane::Localize() {
    SetStorage(FStorageID);
    FCover->setAccessibleName(FTexts("Cover"));
    FNotes->setAccessibleName(FTexts("Notes"));
    setAccessibleName(FTexts("Details"));
    for (std::size_t i = 0; i < FButtons.size(); ++i) {
        const QString caption = FTexts("RowButtons", static_cast<int>(i));
        FButtons[i]->setToolTip(caption);
        FButtons[i]->setAccessibleName(caption);
    }
    if (FContent->isVisibleTo(this)) Fill();
}

void DetailsPane::resizeEvent(QResizeEvent* event) {
    Pane::resizeEvent(event);
    FNothing->setMaximumWidth(width());
    ShowCover();
}

}  // namespace vexa::host
