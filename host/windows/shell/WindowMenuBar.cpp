#include "WindowMenuBar.h"

#include "LanguageFile.h"
#include "MenuBuilder.h"
#include "RowTexts.h"
#include "Tray.h"

#include <QActionGroup>

namespace vexa::host {

namespace {

constexpr qsizetype kMaxActLength = 60;

}  // namespace

WindowMenuBar::WindowMenuBar(Host& host, Playback& playback, WindowTheme& theme, const Tray& tray, QWidget* parent)
    : Pane(parent), FHost(host), FTray(tray), FTexts(host.Language()) {
    QMenu* file = AddMenuOf("MenuFile");
    FSubscribe = Add(file, "Subscribe", QKeySequence(Qt::CTRL | Qt::Key_N), &WindowMenuBar::Subscribe);
    FFindNew = Add(file, "FindNew", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), &WindowMenuBar::FindNew);
    for (QAction* action : {FSubscribe, FFindNew}) action->setIconVisibleInMenu(false);
    file->addSeparator();
    FImport = Add(file, "Import", QKeySequence(Qt::CTRL | Qt::Key_O), &WindowMenuBar::Import);
    FExport = Add(file, "Export", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &WindowMenuBar::Export);
    file->addSeparator();
    Add(file, "Options", QKeySequence(Qt::CTRL | Qt::Key_Comma), &WindowMenuBar::Options);
    file->addSeparator();
    AddTrayChoice(file);
    Add(file, "Quit", QKeySequence(Qt::CTRL | Qt::Key_Q), &WindowMenuBar::Quit);
    QMenu* edit = AddMenuOf("MenuEdit");
    AddUndo(edit);
    edit->addSeparator();
    Add(edit, "Find", QKeySequence(QKeySequence::Find), &WindowMenuBar::FocusSearch);
    Add(edit, "SearchAll", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F), &WindowMenuBar::SearchAll);
    // The context menus' items, too, because not everybody looks for commands there.
    FLibrary = BuildMenu(FHost.Menus(), {kMenuLibraryTree, kMenuLibraryTable, kMenuLibrary}, this);
    addMenu(FLibrary);
    FCaptions.push_back({FLibrary->menuAction(), "MenuLibrary"});
    FPlayback = new PlaybackMenu(host, playback, this);
    addMenu(FPlayback);
    FView = AddMenuOf("MenuView");
    AddThemes(theme);
    AddLanguages();
    FView->addSeparator();
    Add(FView, "Shortcuts", QKeySequence(QKeySequence::HelpContents), &WindowMenuBar::Shortcuts);
    FView->addSeparator();
    EnableOffered(nullptr);
    Localize();
}

QMenu* WindowMenuBar::AddMenuOf(const char* key) {
    QMenu* menu = addMenu(QString());
    FCaptions.push_back({menu->menuAction(), key});
    return menu;
}

QAction* WindowMenuBar::Add(QMenu* menu, const char* key, const QKeySequence& keys, void (WindowMenuBar::*signal)()) {
    QAction* action = menu->addAction(QString());
    action->setObjectName(QString::fromLatin1(key));
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, signal);
    FCaptions.push_back({action, key});
    return action;
}

/// The item says what it undoes while the menu is shown. Otherwise it is enabled, so that its shortcut works.
void WindowMenuBar::AddUndo(QMenu* menu) {
    QAction* undo = Add(menu, "Undo", QKeySequence(QKeySequence::Undo), &WindowMenuBar::Undo);
    connect(menu, &QMenu::aboutToShow, this, [this, undo] {
        const auto newest = FNewestAct ? FNewestAct() : std::nullopt;
        undo->setEnabled(newest.has_value());
        QString shown = newest.value_or(QString());
        if (shown.size() > kMaxActLength) shown = shown.left(kMaxActLength - 1).trimmed() + u'…';
        undo->setText(newest ? FTexts("UndoAct", shown.replace(u'&', QStringLiteral("&&"))) : FTexts("Undo"));
    });
    connect(menu, &QMenu::aboutToHide, this, [this, undo] {
        undo->setEnabled(true);
        undo->setText(FTexts("Undo"));
    });
}

void WindowMenuBar::AddPane(const char* key, QAction* toggle) {
    FView->addAction(toggle);
    FCaptions.push_back({toggle, key});
    Localize();
}

/// What the question at closing asks for, so that the answer can be changed.
void WindowMenuBar::AddTrayChoice(QMenu* menu) {
    QAction* choice = menu->addAction(QString());
    choice->setObjectName(QStringLiteral("StayInTray"));
    choice->setCheckable(true);
    FCaptions.push_back({choice, "StayInTray"});
    connect(choice, &QAction::triggered, this, [this](bool isChecked) {
        ChooseAtClosing(FHost.Config(), isChecked ? AtClosing::GoOnInTray : AtClosing::End);
    });
    connect(menu, &QMenu::aboutToShow, this, [this, choice] {
        choice->setVisible(FTray.IsAvailable());
        choice->setChecked(ChosenAtClosing(FHost.Config()) != AtClosing::End);
    });
}

void WindowMenuBar::AddThemes(WindowTheme& theme) {
    QMenu* menu = FView->addMenu(QString());
    FCaptions.push_back({menu->menuAction(), "Theme"});
    auto* group = new QActionGroup(this);
    using Choice = WindowTheme::Choice;
    for (const auto& [choice, key] :
         {std::pair(Choice::Desktop, "ThemeDesktop"), {Choice::Light, "ThemeLight"}, {Choice::Dark, "ThemeDark"}}) {
        QAction* action = menu->addAction(QString());
        action->setCheckable(true);
        action->setChecked(theme.Chosen() == choice);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [&theme, choice = choice] { theme.Choose(choice); });
        FCaptions.push_back({action, key});
    }
}

void WindowMenuBar::AddLanguages() {
    QMenu* menu = FView->addMenu(QString());
    FCaptions.push_back({menu->menuAction(), "Language"});
    auto* group = new QActionGroup(this);
    for (const QString& language : FHost.Language().Languages()) {
        QAction* action = menu->addAction(OwnNameOf(language).replace(u'&', QStringLiteral("&&")));
        action->setCheckable(true);
        action->setChecked(language == FHost.Language().Language());
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, language] { FHost.ChooseLanguage(language); });
    }
}

void WindowMenuBar::EnableOffered(const LibraryStorage* storage) {
    FSubscribe->setEnabled(storage && storage->Offered<IVEXAMLDataStorageCommandAddFilesDialog>());
    FFindNew->setVisible(storage && storage->Offered<IVEXAMLFinder>());
    for (QAction* action : {FImport, FExport}) action->setEnabled(storage && storage->Subscriptions());
}

void WindowMenuBar::Localize() {
    for (const Captioned& captioned : FCaptions) captioned.Action->setText(FTexts(captioned.Key));
}

}  // namespace vexa::host
