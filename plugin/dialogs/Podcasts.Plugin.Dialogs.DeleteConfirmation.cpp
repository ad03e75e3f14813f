#include "Podcasts.Plugin.Dialogs.DeleteConfirmation.h"

#include "apiWrappers.h"

#include <QApplication>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>

#include <algorithm>

namespace podcasts {

using namespace vexa;

namespace {

constexpr qsizetype kMaxTitleLength = 200;     // letters in the question
constexpr qsizetype kMaxToolTipLength = 1000;  // letters in the tool tip, which shows a longer title
constexpr int kIconSize = 32;
constexpr int kTextWidth = 388;
constexpr int kLettersInLine = 45;  // minimum width of the text, for large fonts
constexpr QSize kButtonSize(96, 25);
constexpr int kLeftOfButtons = 113;  // the buttons are in the middle
constexpr int kRightOfButtons = 106;

}  // namespace

bool TfrmPodcastDeleteConfirmation::Execute(WindowHandle owner, const QString& feedTitle, bool& deleteCachedFiles) {
    if (!CanShowWindows("the question before unsubscribing")) return false;
    TOpenDialog<TfrmPodcastDeleteConfirmation> dialog(owner, feedTitle);
    const bool isConfirmed = dialog.ExecuteOK();
    if (isConfirmed) deleteCachedFiles = dialog->cbDeleteCachedFiles->isChecked();
    return isConfirmed;
}

TfrmPodcastDeleteConfirmation::TfrmPodcastDeleteConfirmation(WindowHandle owner, const QString& feedTitle)
    : TPodcastsCustomForm(owner), FFeedName(feedTitle), cbDeleteCachedFiles(new QCheckBox) {
    const auto text = [](const char* key) { return LocalizedText(QString::fromLatin1(key)); };

    auto* const imIcon = new QLabel;
    imIcon->setObjectName(QStringLiteral("imIcon"));
    QIcon glyph;
    for (const char* const name : {"QUESTION", "QUESTION192"})
        glyph.addFile(ResourcePath(QLatin1String(name), QStringLiteral("PNG")));
    imIcon->setPixmap(glyph.pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
    imIcon->setFixedSize(kIconSize, kIconSize);

    auto* const lbText = new QLabel;
    lbText->setObjectName(QStringLiteral("lbText"));
    lbText->setTextFormat(Qt::PlainText);
    lbText->setWordWrap(true);
    lbText->setAlignment(Qt::AlignTop | Qt::AlignLeading);
    // The text is as wide as the window, and does not make the window wider.
    QSizePolicy asWideAsThere = lbText->sizePolicy();
    asWideAsThere.setHorizontalPolicy(QSizePolicy::Ignored);
    lbText->setSizePolicy(asWideAsThere);
    lbText->setMinimumSize(std::max(kTextWidth, kLettersInLine * fontMetrics().averageCharWidth()), kIconSize);
    const QString name = TextForLabel(FFeedName, kMaxTitleLength);
    lbText->setText(FormatText(text("Podcasts\\MSG6"), name));
    // Qt guesses whether a tool tip is markup, so make it markup explicitly.
    if (name != FFeedName)
        lbText->setToolTip(QStringLiteral("<qt>") + TextForLabel(FFeedName, kMaxToolTipLength).toHtmlEscaped());

    cbDeleteCachedFiles->setObjectName(QStringLiteral("cbDeleteCachedFiles"));
    cbDeleteCachedFiles->setText(text("Podcasts\\MSG5"));
    cbDeleteCachedFiles->setChecked(true);

    const auto newButton = [&](const char* objectName, const char* key) {
        auto* const button = new QPushButton(text(key));
        button->setObjectName(QLatin1String(objectName));
        button->setMinimumSize(kButtonSize);
        return button;
    };
    auto* const btnOK = newButton("btnOK", "CommonDialogs\\B1");
    auto* const btnCancel = newButton("btnCancel", "CommonDialogs\\B2");
    btnCancel->setAutoDefault(false);
    connect(btnOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(btnCancel, &QPushButton::clicked, this, &QDialog::reject);

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(6);
    texts->addWidget(lbText);
    texts->addWidget(cbDeleteCachedFiles, 0, Qt::AlignLeading);
    auto* const question = new QHBoxLayout;
    question->setSpacing(9);
    question->addWidget(imIcon, 0, Qt::AlignTop);
    question->addLayout(texts, 1);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(6);
    buttons->addItem(new QSpacerItem(kLeftOfButtons, 0, QSizePolicy::Expanding));
    buttons->addWidget(btnOK);
    buttons->addWidget(btnCancel);
    buttons->addItem(new QSpacerItem(kRightOfButtons, 0, QSizePolicy::Expanding));
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(10, 8, 8, 8);
    all->setSpacing(12);
    all->addLayout(question);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);

    setWindowTitle(text("Podcasts\\MSG4"));
}

void TfrmPodcastDeleteConfirmation::showEvent(QShowEvent* event) {
    TPodcastsCustomForm::showEvent(event);
    if (!event->spontaneous()) QApplication::beep();
}

}  // namespace podcasts
