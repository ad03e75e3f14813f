#include "NodePage.h"

#include "ClampedLabel.h"
#include "RowTexts.h"
#include "ShowNotes.h"
#include "WindowIcons.h"
#include "WindowTheme.h"

#include <QBoxLayout>
#include <QDesktopServices>
#include <QLabel>
#include <QPushButton>
#include <QTextDocument>
#include <QToolButton>
#include <QUrl>

namespace vexa::host {

namespace {

constexpr int kTitleLines = 2, kDescriptionLines = 3, kSmallCoverSide = 56;
constexpr int kSmallHeight = 480;            // of the pane; with a large page few rows would be left
constexpr qsizetype kMaxDescription = 2000;  // letters; more is not shown, and a tool tip of it would fill the screen

QLabel* FaintLine() {
    auto* label = new QLabel;
    label->setObjectName(QStringLiteral("Faint"));
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

QString PlainText(const QString& notes) {
    QTextDocument document;
    document.setHtml(ShowNotesHtml(notes.left(4 * kMaxDescription)));
    return document.toPlainText().simplified().left(kMaxDescription);
}

}  // namespace

NodePage::NodePage(const LanguageService& language, QWidget* parent)
    : Pane(parent),
      FTexts(language),
      FCover(new QLabel),
      FTitle(new ClampedLabel(kTitleLines)),
      FDescription(new ClampedLabel(kDescriptionLines)),
      FAuthor(FaintLine()),
      FNumbers(FaintLine()),
      FPlay(new QPushButton) {
    setObjectName(QStringLiteral("NodePage"));
    QFont large = FTitle->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    large.setWeight(QFont::DemiBold);
    FTitle->setFont(large);
    FCover->setFixedSize(kCoverSide, kCoverSide);
    FCover->setScaledContents(true);
    FPlay->setObjectName(QStringLiteral("PlayOldest"));
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(4);
    buttons->addWidget(FPlay);
    FMark = AddButton("doneall");
    FOptions = AddButton("settings");
    FWeb = AddButton("web");
    for (QToolButton* button : {FMark, FOptions, FWeb}) buttons->addWidget(button);
    buttons->addSpacing(8);
    buttons->addWidget(FNumbers, 1);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(3);
    texts->addWidget(FTitle);
    texts->addWidget(FAuthor);
    texts->addWidget(FDescription);
    texts->addStretch(1);
    texts->addLayout(buttons);
    auto* whole = new QHBoxLayout(this);
    whole->setContentsMargins(10, 4, 10, 10);
    whole->setSpacing(14);
    whole->addWidget(FCover, 0, Qt::AlignTop);
    whole->addLayout(texts, 1);
    connect(FPlay, &QPushButton::clicked, this, &NodePage::PlayOldestWanted);
    connect(FMark, &QToolButton::clicked, this, &NodePage::MarkAllWanted);
    connect(FOptions, &QToolButton::clicked, this, &NodePage::OptionsWanted);
    connect(FWeb, &QToolButton::clicked, this, [this] { QDesktopServices::openUrl(QUrl(FInfo.WebAddress)); });
    hide();
    Localize();
    OnThemeChanged();
}

QToolButton* NodePage::AddButton(const char* name) {
    auto* button = new QToolButton;
    button->setObjectName(QString::fromLatin1(name));
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

void NodePage::Show(const NodeInfo& info, const QString& storageID) {
    if (isHidden() || info != FInfo || storageID != FStorageID) {
        FInfo = info;
        FStorageID = storageID;
        Localize();
        Fill();
    }
    show();
}

void NodePage::SetCover(const QPixmap& cover) {
    FCover->setVisible(!cover.isNull());
    FCover->setPixmap(cover);
}

void NodePage::SetOffered(bool hasOptions, bool canMark) {
    FOptions->setVisible(hasOptions);
    FMark->setVisible(canMark);
}

void NodePage::SetRoom(const QSize& room) {
    FRoom = room;
    if (!isHidden()) Fit();
}

void NodePage::Fit() {
    const bool isSmall = FRoom.height() < kSmallHeight;
    const int side = isSmall ? kSmallCoverSide : kCoverSide;
    FCover->setFixedSize(side, side);
    FDescription->setVisible(!isSmall && !FDescription->Text().isEmpty());
    // The button keeps its icon where its caption has no room.
    const QString caption = FTexts("PagePlay");
    const int others = side + 14 + 3 * FMark->sizeHint().width() + 60;
    const bool fits = FPlay->fontMetrics().horizontalAdvance(caption) + 60 + others < FRoom.width();
    FPlay->setText(fits ? caption : QString());
    FPlay->setAccessibleName(caption);
    FPlay->setToolTip(fits ? QString() : caption);
}

void NodePage::Fill() {
    FTitle->SetText(FInfo.Title.simplified());
    FAuthor->setText(FInfo.Author.simplified());
    FAuthor->setVisible(!FAuthor->text().isEmpty());
    FDescription->SetText(PlainText(FInfo.Description));
    QStringList numbers{FTexts("PageUntouched", QLocale().toString(static_cast<qlonglong>(FInfo.Untouched)))};
    const QString newest = DayText(FInfo.Newest, FTexts("Days", 0), FTexts("Days", 1));
    if (!newest.isEmpty()) numbers += FTexts("PageNewest", newest);
    FNumbers->setText(numbers.join(QStringLiteral(" · ")));
    FPlay->setEnabled(FInfo.Untouched > 0);
    FWeb->setVisible(IsWebLink(QUrl(FInfo.WebAddress)));
    Fit();
}

void NodePage::Localize() {
    setAccessibleName(FTexts("Page"));
    const auto name = [](QToolButton* button, const QString& caption) {
        button->setToolTip(caption);
        button->setAccessibleName(caption);
    };
    name(FMark, FTexts("PageMark"));
    name(FOptions, FTexts.Rows(FStorageID, WindowTexts::RowText::NodeOptions));
    name(FWeb, FTexts("PageWeb"));
    if (!isHidden()) Fill();
}

void NodePage::OnThemeChanged() {
    FPlay->setIcon(WindowIcon(QStringLiteral("play")));
    for (QToolButton* button : {FMark, FOptions, FWeb}) button->setIcon(WindowIcon(button->objectName()));
}

}  // namespace vexa::host
