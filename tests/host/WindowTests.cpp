// The window: its models over a test storage, and the whole window with the podcasts plug-in.

#include "ClampedLabel.h"
#include "DetailsPane.h"
#include "EpisodeStorage.h"
#include "FirstStartPage.h"
#include "ListeningPane.h"
#include "ListsPane.h"
#include "LoopbackServer.h"
#include "MainWindow.h"
#include "PlaybackBar.h"
#include "RowTexts.h"
#include "SeekBar.h"
#include "ShowNotes.h"
#include "Shown.h"
#include "SubscribeDialog.h"
#include "TaskBar.h"
#include "VEXA.Runtime.ChoiceDialog.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Settings.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QToolTip>
#include <QTreeWidget>
#include <QWheelEvent>

using namespace vexa::host;
using tests::EpisodeStorage;
using tests::LoopbackServer;
using tests::Response;
using tests::WaitUntil;

namespace {

/// A table over a storage in memory.
class Table : public HostTest {
protected:
    void SetUp() override {
        Storage->OffersFiles = Storage->OffersSubscriptions = true;
        ASSERT_EQ(Host.PluginCore().RegisterExtension(IVEXAServiceMusicLibrary::IID, Storage->Identity()), S_OK);
    }

    void Open() {
        Library.emplace(Host.Library());
        Reader.emplace(*Library);
        Pane.emplace(Host.Language());
        Pane->resize(600, 400);
        Pane->SetSource(&*Library, &*Reader, {});
        Pane->show();
        Settle();
    }
    void Settle() {
        // The reader answers everything that was asked for before.
        for (int i = 0; i < 2; ++i) Reader->CountNow({.Fields = {"Title"}});
        QCoreApplication::processEvents();
        ASSERT_TRUE(WaitUntil([&] { return !Pane->Model().IsBusy(); }));
    }
    /// The ranges of rows that were read.
    QStringList Ranges() {
        QStringList ranges;
        for (const QString& asked : Storage->Asked())
            if (const QString range = asked.section(u';', -1); range != u"0,0") ranges += range;
        ranges.removeDuplicates();
        return ranges;
    }

    Ref<EpisodeStorage> Storage{new EpisodeStorage};
    std::optional<LibraryStorage> Library;
    std::optional<RowReader> Reader;
    std::optional<TablePane> Pane;
};

/// The window with the plug-in, started as the program does.
class Window : public HostTest {
protected:
    void Start() {
        Player.emplace(Host, QStringLiteral("fakesink sync=true"));
        PlayerWindow.emplace(Host, *Player, [this] { return HasTray; });
        PlayerWindow->show();
        Host.LoadPlugin(QStringLiteral(PLUGIN));
        ASSERT_TRUE(WaitUntil([&] { return PlayerWindow->Library().Storage() != nullptr; }));
    }
    /// The part of the window with this type, and with this name if there is one.
    template <class Widget>
    Widget* Find(const char* name = nullptr) {
        return PlayerWindow->findChild<Widget*>(QString::fromLatin1(name));
    }
    QString WriteFeed(int episodes = 3) {
        QByteArray items;
        for (int i = 0; i < episodes; ++i)
            items += QByteArray(
                         "<item><title>Part N</title><guid>gN</guid>"
                         "<enclosure url='http://127.0.0.1:9/N.mp3' type='audio/mpeg'/></item>")
                         .replace("N", QByteArray::number(i));
        const QString name = Profile.File("tides.xml");
        WriteWhole(name, "<rss version='2.0'><channel><title>Tides</title>" + items + "</channel></rss>");
        return name;
    }
    void Subscribe() {
        Find<QLineEdit>("Address")->setText(WriteFeed());
        auto* page = Find<FirstStartPage>();
        ASSERT_TRUE(page->isVisible());
        page->findChild<QPushButton*>("Subscribe")->click();
        ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 3 && Find<QTableView>("Rows")->isVisible(); }));
        ASSERT_TRUE(WaitUntil([&] { return Find<QFrame>("Banner")->accessibleName().endsWith("Tides"); }));
        EXPECT_FALSE(page->isVisible());
    }
    QAbstractItemModel* Rows() { return Find<QTableView>("Rows")->model(); }

    bool HasTray = false;
    std::optional<Playback> Player;
    std::optional<MainWindow> PlayerWindow;
};

/// The active window, with one subscription of three episodes.
class SubscribedWindow : public Window {
protected:
    void SetUp() override {
        Start();
        Subscribe();
        QApplication::setActiveWindow(&*PlayerWindow);
        View = Find<QTableView>("Rows");
        Tree = Find<QTreeView>("Tree");
        Search = Find<QLineEdit>("Search");
        QTest::keyRelease(&*PlayerWindow, Qt::Key_Control);  // which the test before this one may have left pressed
        // The counts come after the nodes.
        ASSERT_TRUE(WaitUntil([&] { return Tree->model()->index(0, 0).data().toString() == "New (3)"; }));
    }

    QTableView* View = nullptr;
    QTreeView* Tree = nullptr;
    QLineEdit* Search = nullptr;
};

}  // namespace

TEST_F(Table, OnlyRowsInSightAreRead) {
    Storage->Rows.clear();
    for (int i = 0; i < 5000; ++i)
        Storage->Rows.push_back({"e" + QString::number(i), "T" + QString::number(i), "A", 1, 60});
    Open();
    ASSERT_TRUE(WaitUntil([&] { return Pane->Model().rowCount() == 5000; }));
    EXPECT_EQ(Ranges(), QStringList("0,100"));
    Storage->Hold();
    QScrollBar* bar = Pane->View()->verticalScrollBar();
    // The view lays its rows out after the model has reported them.
    ASSERT_TRUE(WaitUntil([&] { return bar->maximum() > 4000 * Pane->View()->rowHeight(0); }));
    bar->setValue(bar->maximum() / 4);  // scrolled past before the rows can be read
    bar->setValue(bar->maximum());
    EXPECT_EQ(Pane->Model().index(4999, Pane->Model().ColumnOf("Title")).data().toString(), "…");
    Storage->LetThrough();
    ASSERT_TRUE(WaitUntil([&] { return Pane->Model().Row(4999) != nullptr; }));
    EXPECT_EQ(Pane->Model().File(4999), "episode://e4999");
    EXPECT_LE(Ranges().size(), 4);
    EXPECT_EQ(Ranges().last(), "4900,100");
}

TEST_F(Table, AReloadKeepsCurrentRowAndSelection) {
    Open();
    ASSERT_TRUE(Pane->ShowFile("episode://e2"));
    Pane->View()->selectionModel()->select(Pane->Model().index(Pane->Model().FindFile("episode://e4"), 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
    // Rows are inserted before the selected ones, then one of those is removed.
    Storage->Rows.insert(Storage->Rows.begin(), {{"e8", "New", "A", 1, 1}, {"e9", "Newer", "A", 1, 1}});
    QSignalSpy shown(&Pane->Model(), &TableModel::Shown);
    Pane->Model().Reload();
    ASSERT_TRUE(WaitUntil([&] { return Pane->Model().rowCount() == 6 && shown.count() > 0; }));
    EXPECT_EQ(Pane->CurrentFile(), "episode://e2");
    EXPECT_EQ(Pane->SelectedFiles(), QStringList({"episode://e2", "episode://e4"}));
    std::erase_if(Storage->Rows, [](const auto& episode) { return episode.ID == "e2"; });
    Pane->Model().Reload();
    ASSERT_TRUE(WaitUntil([&] { return Pane->Model().rowCount() == 5; }));
    EXPECT_EQ(Pane->CurrentFile(), "episode://e3");  // the row that took its place
}

TEST_F(Table, ANarrowOneLeavesRoomForTheTitles) {
    Open();
    QHeaderView* header = Pane->View()->horizontalHeader();
    const int title = Pane->Model().ColumnOf(IVEXAMLDataField::Title);
    for (int column = 0; column < Pane->Model().columnCount(); ++column)
        if (column != title) header->resizeSection(column, 250);
    Pane->resize(420, 300);
    EXPECT_TRUE(WaitUntil([&] { return header->sectionSize(title) >= 150; })) << header->sectionSize(title);
}

TEST_F(Table, AnAnswerToAnEarlierSearchIsDropped) {
    Open();
    const int before = Pane->Model().rowCount();
    Storage->Hold();
    const auto asked = Storage->Asked().size();
    QSignalSpy resets(&Pane->Model(), &QAbstractItemModel::modelReset);
    Pane->Model().SetQuery({.Fields = {}, .Search = "i"});
    Storage->WaitUntilAsked(static_cast<int>(asked) + 1);  // the storage is being asked already
    Pane->Model().SetQuery({.Fields = {}, .Where = {{"Title", IVEXAMLFieldFilter::Equals, QString("Fog")}}});
    EXPECT_EQ(Pane->Model().rowCount(), before);  // the old rows stay meanwhile
    Storage->LetThrough();
    ASSERT_TRUE(WaitUntil([&] { return Pane->Model().rowCount() == 1; }));
    EXPECT_EQ(Pane->Model().File(0), "episode://e3");
    EXPECT_EQ(resets.count(), 1);
}

TEST_F(Table, ATaskShowsTheCaptionSetAfterItsStartHowFarItIsAndAButtonToCancelIt) {
    Open();
    TaskBar bar(Host.Library(), Host.Language());
    bar.show();
    const Ref<IVEXAString> caption = MakeString("Loading: %s");
    Storage->Manager->BackgroundTaskStarted(1, caption.Get(), nullptr);
    bar.Update(&*Library);
    EXPECT_EQ(ShownTexts(bar), QStringList());
    const QString made = u"Loading: 1 of 3"_s;
    caption->SetChars(reinterpret_cast<const char16_t*>(made.utf16()), static_cast<std::int32_t>(made.size()));
    QCoreApplication::processEvents();
    EXPECT_EQ(ShownTexts(bar), QStringList(made));
    auto* progress = bar.findChild<QProgressBar*>();
    EXPECT_EQ(progress->maximum(), 0) << "how far it is is not known";
    EXPECT_FALSE(bar.HasWorkToLose());
    Storage->Progress = {3, 4, 0.6};
    bar.Update(&*Library);
    const QStringList both{made, u"3 of 4"_s};
    EXPECT_TRUE(WaitUntil([&] { return ShownTexts(bar) == both; })) << ShownTexts(bar).join(u'|').toStdString();
    EXPECT_EQ(progress->value(), progress->maximum() * 6 / 10);
    progress->parentWidget()->findChild<QToolButton*>()->click();
    EXPECT_EQ(Storage->CancelledTasks, std::vector<std::int32_t>{1});
    Storage->Manager->BackgroundTaskFinished(1);
    bar.Update(&*Library);
    EXPECT_EQ(ShownTexts(bar), QStringList());
}

TEST(ShowNotes, BecomeHarmlessHtml) {
    const std::pair<const char*, const char*> cases[] = {
        {"One\nTwo <3", "One<br>Two &lt;3"},
        {"See https://a.b/c?d=1&e=2.", "See <a href=\"https://a.b/c?d=1&amp;e=2\">https://a.b/c?d=1&amp;e=2</a>."},
        {"0:45 start, 1:02:03 end, 10:75 no",
         "<a href=\"seek:45\">0:45</a> start, <a href=\"seek:3723\">1:02:03</a> end, 10:75 no"},
        {"<p style='color:#fff'>a<img src='file:///dev/zero'></p>", "<p>a</p>"},
        {"<a href=\"javascript:x()\">a</a><a href='mailto:b@c.d'>b</a>", "a<a href=\"mailto:b@c.d\">b</a>"},
        {"<script>alert(1)</script><b>2:00</b>", "<b><a href=\"seek:120\">2:00</a></b>"},
        {"<a href=\"https://x.y\">https://x.y</a>", "<a href=\"https://x.y\">https://x.y</a>"},
        {"<b>open <script>never closed", "<b>open "},
    };
    for (const auto& [text, html] : cases) EXPECT_EQ(ShowNotesHtml(text), html) << text;
    vexa::host::ShowNotes notes;
    EXPECT_TRUE(notes.loadResource(QTextDocument::ImageResource, QUrl("file:///dev/zero")).toByteArray().isEmpty());
    QSignalSpy seeks(&notes, &ShowNotes::SeekWanted);
    Q_EMIT notes.anchorClicked(QUrl("seek:45"));
    EXPECT_EQ(seeks.value(0).value(0).toDouble(), 45);
}

TEST(ShowNotes, LinksFollowTheTheme) {
    const QPalette before = QApplication::palette();
    ShowNotes notes;
    notes.SetNotes("https://example.org/");
    for (const QColor colour : {QColor(1, 2, 3), QColor(250, 240, 230)}) {
        QPalette palette = before;
        palette.setColor(QPalette::Link, colour);
        QApplication::setPalette(palette);
        QCoreApplication::processEvents();
        EXPECT_TRUE(notes.toHtml().contains(colour.name())) << notes.toHtml().toStdString();
    }
    QApplication::setPalette(before);
}

TEST(ClampedLabel, HasNoMoreLinesThanItMay) {
    ClampedLabel label(3);
    const int line = label.fontMetrics().lineSpacing();
    label.SetText("Short");
    EXPECT_EQ(label.heightForWidth(300), line);
    label.SetText(QString("word ").repeated(100) + QString(500, 'x'));
    EXPECT_EQ(label.heightForWidth(300), 3 * line);
    EXPECT_EQ(label.heightForWidth(100'000), line) << "it fits";
    EXPECT_TRUE(label.toolTip().contains("xxx")) << "the whole text";
}

TEST(SeekBar, GoesWhereItIsClickedAndNeverToTheEnd) {
    SeekBar bar;
    bar.resize(420, 24);
    bar.Show(10, 100);
    QSignalSpy wanted(&bar, &SeekBar::SeekWanted);
    const auto last = [&] { return wanted.isEmpty() ? -1 : wanted.takeLast().at(0).toInt(); };
    QTest::mouseClick(&bar, Qt::LeftButton, {}, QPoint(210, 12));
    EXPECT_NEAR(last(), 50, 2);
    QTest::mouseClick(&bar, Qt::LeftButton, {}, QPoint(419, 12));
    EXPECT_EQ(last(), 99);
    QTest::mousePress(&bar, Qt::LeftButton, {}, QPoint(210, 12));
    bar.Show(60, 100);
    QTest::mouseMove(&bar, QPoint(110, 12));
    EXPECT_EQ(last(), -1) << "while it is dragged";
    QTest::mouseRelease(&bar, Qt::LeftButton, {}, QPoint(110, 12));
    EXPECT_NEAR(last(), 25, 2);
    const auto turn = [&](int from, int angle) {
        bar.Show(from, 100);
        QWheelEvent event(QPointF(50, 12), QPointF(50, 12), {}, QPoint(0, angle), {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&bar, &event);
        return last();
    };
    EXPECT_EQ(turn(50, 120), 55);
    EXPECT_EQ(turn(50, -240), 40);
    EXPECT_EQ(turn(50, 60), -1) << "half a notch";
    EXPECT_EQ(turn(50, 60), 55) << "and the other half";
    EXPECT_EQ(turn(2, -120), 0);
    EXPECT_EQ(turn(97, 120), 99);
    EXPECT_EQ(turn(99, 120), -1);

    // Chapters: their titles in the tool tip below the time, a tick where each begins.
    bar.Show(0, 100);
    const QImage plain = bar.grab().toImage();
    bar.SetChapters({{20, "Tides"}, {50, "Harbours"}, {80, ""}});
    for (const auto& [x, title] : {std::pair(40, ""), {150, "Tides"}, {250, "Harbours"}, {390, ""}}) {
        QHelpEvent help(QEvent::ToolTip, QPoint(x, 12), QPoint(x, 12));
        QCoreApplication::sendEvent(&bar, &help);
        const QString time = QToolTip::text().section('\n', 0, 0);
        EXPECT_NEAR(QTime(0, 0).secsTo(QTime::fromString(time, "m:ss")), x / 4.2, 3) << time.toStdString();
        EXPECT_EQ(QToolTip::text().section('\n', 1), title) << x;
    }
    const QImage ticked = bar.grab().toImage();
    QList<int> ticks;
    for (int x = 0; x < ticked.width(); ++x)
        if (ticked.pixel(x, 12) != plain.pixel(x, 12) && (ticks.isEmpty() || x > ticks.last() + 4)) ticks += x;
    ASSERT_EQ(ticks.size(), 3) << "ticks";
    EXPECT_NEAR(ticks[1], 210, 4);
    QToolTip::hideText();
}

TEST(Languages, AreListedByTheirOwnNames) {
    EXPECT_EQ(OwnNameOf("German"), "Deutsch");
    EXPECT_EQ(OwnNameOf("English"), "English");
    EXPECT_EQ(OwnNameOf("Russian"), "Русский");
    EXPECT_EQ(OwnNameOf("My own"), "My own");
}

TEST(Days, OfTheLastMonthsHaveNoYear) {
    const QLocale before;
    const QDateTime recent = QDateTime::currentDateTime().addDays(-40);
    for (const auto& [locale, format] :
         {std::pair("en_US", "MMM d"), {"en_GB", "d MMM"}, {"de_DE", "d. MMM"}, {"ru_RU", "d MMM"}}) {
        QLocale::setDefault(QLocale(QString::fromLatin1(locale)));
        EXPECT_EQ(DayText(ToOleDate(recent), "today", "yesterday"), QLocale().toString(recent.date(), format))
            << locale;
        const double old = ToOleDate(recent.addYears(-1)), future = ToOleDate(recent.addDays(80));
        EXPECT_EQ(DayText(old, "today", "yesterday"), ShownDate(old)) << locale;
        EXPECT_EQ(DayText(future, "today", "yesterday"), ShownDate(future)) << locale;
    }
    QLocale::setDefault(before);
}

TEST_F(SubscribedWindow, AMarkedRowStaysAtItsPlaceUntilTheNodeIsOpenedAgain) {
    auto& table = *Find<TablePane>();
    // The titles from the top, those that are only kept in brackets, then the number of entries.
    const auto shown = [&] {
        const int title = table.Model().ColumnOf(IVEXAMLDataField::Title);
        QStringList texts;
        for (int row = 0; row < table.Model().rowCount(); ++row) {
            const QString text = table.Model().index(row, title).data().toString();
            const bool isKept = table.Model().index(row, title).data(Qt::ForegroundRole).isValid();
            texts += isKept ? QString(u'[' + text + u']') : text;
        }
        return QString(texts.join(u' ') + u'/' + QString::number(table.Model().Count()));
    };
    const auto key = [&](Qt::Key code) {
        View->setFocus();
        QTest::keyClick(View, code);
    };
    const auto becomes = [&](const QString& wanted, const char* when) {
        EXPECT_TRUE(WaitUntil([&] { return shown() == wanted; }, std::chrono::seconds(20)))
            << when << ": " << shown().toStdString();
    };
    ASSERT_TRUE(WaitUntil([&] { return !table.Model().IsBusy(); })) << "the rows are still being read";
    View->selectRow(1);
    key(Qt::Key_L);
    becomes("Part 2 [Part 1] Part 0/2", "the middle one is marked");
    key(Qt::Key_L);
    becomes("Part 2 [Part 1] Part 0/2", "marked again");
    key(Qt::Key_N);
    becomes("Part 2 Part 1 Part 0/3", "new again");
    key(Qt::Key_L);
    becomes("Part 2 [Part 1] Part 0/2", "listened");
    WriteFeed(4);
    key(Qt::Key_F5);
    becomes("Part 3 Part 2 [Part 1] Part 0/3", "a new one has arrived above it");
    View->selectAll();
    key(Qt::Key_L);
    becomes("[Part 3] [Part 2] [Part 1] [Part 0]/0", "all are marked");
    table.Model().sort(0, Qt::AscendingOrder);
    becomes("/0", "sorted anew");
}

TEST_F(SubscribedWindow, RowsOfTheListHaveTwoLinesAndButtons) {
    auto* delegate = dynamic_cast<ListRowDelegate*>(View->itemDelegate());
    ASSERT_TRUE(delegate) << "new users see the list";
    TableModel& model = Find<TablePane>()->Model();
    ASSERT_TRUE(WaitUntil([&] { return !model.IsBusy() && model.Row(2); }));
    const auto row = [&](int number) { return model.index(number, model.ColumnOf(IVEXAMLDataField::Title)); };
    EXPECT_EQ(row(1).data(TableModel::kSecondLineRole), "Tides") << "nothing else is known, and “New” says nothing new";
    EXPECT_TRUE(row(1).data(TableModel::kIsUntouchedRole).toBool());
    const auto place = [&](RowButton button) {
        return delegate->PlaceOf(button, View->visualRect(row(1)), row(1)).center();
    };
    const QPoint done = place(RowButton::Done), fetch = place(RowButton::Fetch);
    ASSERT_NE(done, fetch);
    View->clearFocus();
    EXPECT_FALSE(delegate->ButtonAt(done, View->visualRect(row(1)), row(1))) << "neither hovered nor focused";
    QTest::mouseMove(View->viewport(), done);
    QTest::mousePress(View->viewport(), Qt::LeftButton, {}, done);
    QTest::mouseRelease(View->viewport(), Qt::LeftButton, {}, fetch);
    QTest::mouseDClick(View->viewport(), Qt::LeftButton, {}, done);
    EXPECT_TRUE(Player->Current().Address.isEmpty()) << "a double click on a button is no double click on the row";
    QTest::mouseClick(View->viewport(), Qt::LeftButton, {}, done);
    ASSERT_TRUE(WaitUntil([&] { return row(1).data(TableModel::kIsDoneRole).toBool(); }));
    EXPECT_EQ(row(1).data(TableModel::kSecondLineRole), "Tides · Listened");
    EXPECT_EQ(model.Count(), 2) << "only this row, and the button that was left before the release did nothing";
    EXPECT_TRUE(delegate->PlaceOf(RowButton::Done, View->visualRect(row(1)), row(1)).isEmpty());
    QTest::mouseClick(View->viewport(), Qt::LeftButton, {}, place(RowButton::PlayNext));
    EXPECT_EQ(Player->UpNext(), QStringList(model.File(1)));

    // The choice between list and table belongs to the kind of node.
    auto* compact = Find<QAction>("Compact");
    compact->trigger();
    Tree->setCurrentIndex(Tree->model()->index(1, 0));
    EXPECT_FALSE(compact->isChecked()) << "postponed";
    Tree->setCurrentIndex(Tree->model()->index(0, 0));
    EXPECT_TRUE(compact->isChecked()) << "new";
}

TEST_F(SubscribedWindow, APodcastHasAPageAndIsFoundInAGridOfCovers) {
    WriteWhole(Profile.File("fog.xml"),
               "<rss version='2.0'><channel><title>Fog</title><link>https://example.org/fog</link>"
               "<itunes:author xmlns:itunes='http://www.itunes.com/dtds/podcast-1.0.dtd'>Ann</itunes:author>"
               "<description>About &lt;b&gt;fog&lt;/b&gt; &lt;img src='http://127.0.0.1:9/x.png'/&gt;</description>"
               "<item><title>Later</title><guid>2</guid><pubDate>Tue, 02 Jan 2024 10:00:00 GMT</pubDate>"
               "<enclosure url='http://127.0.0.1:9/later.wav' type='audio/wav'/></item>"
               "<item><title>First</title><guid>1</guid><pubDate>Mon, 01 Jan 2024 10:00:00 GMT</pubDate>"
               "<enclosure url='http://127.0.0.1:9/first.wav' type='audio/wav'/></item></channel></rss>");
    Find<Subscriber>()->Subscribe({Profile.File("fog.xml")});
    const QModelIndex subscriptions = Tree->model()->index(2, 0);
    ASSERT_TRUE(WaitUntil([&] { return Tree->model()->rowCount(subscriptions) == 2; }));
    Tree->setCurrentIndex(subscriptions);
    auto* grid = Find<CoverGrid>();
    // The titles in the order shown, with the numbers of new episodes.
    const auto tiles = [&] {
        QStringList shown;
        for (int row = 0; row < grid->model()->rowCount(); ++row) {
            const QModelIndex tile = grid->model()->index(row, 0);
            shown += tile.data().toString() + u' ' + tile.data(Qt::AccessibleDescriptionRole).toString();
        }
        return shown.join(u", ");
    };
    EXPECT_TRUE(WaitUntil([&] { return tiles() == "Fog 2, Tides 3"; }))
        << "the newest first: " << tiles().toStdString();
    EXPECT_TRUE(grid->isVisible());
    grid->SetOrder(CoverGrid::Order::Untouched);
    EXPECT_EQ(tiles(), "Tides 3, Fog 2");
    Search->setText("part");
    EXPECT_FALSE(grid->isVisible()) << "what is searched are rows";
    Search->clear();
    EXPECT_TRUE(grid->isVisible());
    auto* page = Find<NodePage>();
    EXPECT_FALSE(page->isVisible());
    grid->setCurrentIndex(grid->model()->index(1, 0));
    QTest::keyClick(grid, Qt::Key_Return);
    ASSERT_TRUE(WaitUntil([&] { return page->isVisible(); }));
    EXPECT_TRUE(View->isVisible());
    View->selectRow(0);
    EXPECT_TRUE(WaitUntil([&] { return !Find<QLabel>("DetailsCover")->pixmap().isNull(); })) << "the podcast's";
    QStringList texts;
    for (const auto* label : page->findChildren<ClampedLabel*>()) texts += label->Text();
    EXPECT_EQ(texts.join(u'/'), "Fog/About fog") << "markup is not shown, and pictures are not loaded";
    EXPECT_TRUE(Find<QToolButton>("web")->isVisible());
    Find<QPushButton>("PlayOldest")->click();
    EXPECT_TRUE(WaitUntil([&] { return Player->Current().Address.endsWith("first.wav"); }))
        << Player->Current().Address.toStdString();
    Player->PlayNext({Player->Current().Address});
    const QModelIndex next = Find<ListeningPane>()->Model().index(1);
    EXPECT_TRUE(WaitUntil([&] { return !next.data(Qt::DecorationRole).value<QPixmap>().isNull(); }))
        << "up next shows covers, too";
    Find<QToolButton>("doneall")->click();
    EXPECT_TRUE(WaitUntil([&] { return !Find<QPushButton>("PlayOldest")->isEnabled(); })) << "none is new";
    EXPECT_TRUE(WaitUntil([&] { return Tree->model()->index(0, 0).data().toString() == "New (3)"; }))
        << "only those of the page: " << Tree->model()->index(0, 0).data().toString().toStdString();
}

TEST_F(SubscribedWindow, ThePaneOfListsIsClosedWhileAllThatIsWantedIsEmpty) {
    auto* lists = Find<ListsPane>();
    auto* details = Find<DetailsPane>();
    const auto shown = [&] {
        return lists->isVisible() ? lists->tabText(lists->currentIndex()) : details->isVisible() ? "details" : "none";
    };
    EXPECT_EQ(shown(), "details");
    View->selectAll();
    View->setCurrentIndex(View->model()->index(1, 0));
    ASSERT_TRUE(WaitUntil([&] { return details->findChildren<QToolButton*>().value(1)->isVisible(); }));
    View->selectAll();
    for (QToolButton* button : details->findChildren<QToolButton*>())
        if (button->accessibleName() == "Play next") button->click();
    EXPECT_EQ(shown(), "Up next");
    EXPECT_EQ(Player->UpNext().size(), 1) << "of the three that are selected the one whose details are shown";
    Host.Playlists().Create(u"Evening"_s, true);
    EXPECT_TRUE(WaitUntil([&] { return shown() == "Playlists"; }, std::chrono::seconds(5)))
        << "the new one is not shown but " << shown().toStdString();
    Find<QAction>("PanePlaylists")->trigger();
    EXPECT_EQ(shown(), "Up next");
    Player->SetUpNext({});
    EXPECT_EQ(shown(), "details");
    Find<QAction>("PaneDetails")->trigger();
    EXPECT_EQ(shown(), "none");
    EXPECT_FALSE(details->parentWidget()->isVisible()) << "the whole side is closed";
    Find<QAction>("PanePlaylists")->trigger();
    EXPECT_EQ(shown(), "Playlists");
}

TEST_F(SubscribedWindow, TheSearchSaysWhereItLooksAndLooksEverywhereByOneKey) {
    EXPECT_EQ(Search->placeholderText(), "Search in New (3)");
    Tree->setCurrentIndex(Tree->model()->index(1, 0));
    QTest::mouseClick(Tree->viewport(), Qt::LeftButton, {}, Tree->viewport()->rect().bottomRight() - QPoint(5, 5));
    QCoreApplication::processEvents();
    EXPECT_EQ(Search->placeholderText(), "Search in Postponed") << "a click below the last node selects no other";
    EXPECT_TRUE(Tree->selectionModel()->hasSelection());
    Search->setText("part 1");
    EXPECT_TRUE(WaitUntil([&] { return View->model()->rowCount() == 0; })) << "nothing is postponed";
    QTest::keyClick(&*PlayerWindow, Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_TRUE(WaitUntil([&] { return View->model()->rowCount() == 1; })) << View->model()->rowCount();
    EXPECT_TRUE(Find<QToolButton>("SearchAll")->isVisible() && Find<QToolButton>("SearchAll")->isChecked());
    EXPECT_EQ(QApplication::focusWidget(), Search);
    QTest::keyClick(Search, Qt::Key_Escape);
    EXPECT_FALSE(Find<QToolButton>("SearchAll")->isChecked()) << "the next search is in the node again";
    EXPECT_TRUE(WaitUntil([&] { return View->model()->rowCount() == 0; }));
}

TEST_F(SubscribedWindow, PlainKeysActOnTheSelectionWhileTableOrTreeHasTheFocus) {
    const auto nodes = [&] { return Tree->model()->index(0, 0).data().toString(); };
    const struct {
        QWidget* Focused;
        Qt::Key Key;
        const char* Nodes;
    } cases[] = {{View, Qt::Key_L, "New (2)"},
                 {View, Qt::Key_N, "New (3)"},
                 {Tree, Qt::Key_P, "New (2)"},
                 {Search, Qt::Key_N, "New (2)"}};
    for (const auto& c : cases) {
        c.Focused->setFocus();
        View->selectRow(0);
        QTest::keyClick(c.Focused, c.Key);
        EXPECT_TRUE(WaitUntil([&] { return nodes() == c.Nodes; })) << nodes().toStdString() << " for " << c.Nodes;
    }
    EXPECT_EQ(Search->text(), "n");
    Search->clear();
    View->setFocus();
    QTest::keyClick(View, Qt::Key_Q);
    EXPECT_EQ(Player->UpNext().size(), 1);
    QTest::keyClick(View, Qt::Key_Delete);  // would unsubscribe if the tree had the focus
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    QTest::keyClick(View, Qt::Key_Question, Qt::ShiftModifier);
    auto* dialog = PlayerWindow->findChild<QDialog*>("ShortcutsDialog");
    ASSERT_TRUE(dialog) << "? shows no list of keys";
    const auto* list = dialog->findChild<QTreeWidget*>();
    QStringList keys;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        keys += list->topLevelItem(i)->text(0) + u'=' + list->topLevelItem(i)->text(1);
    for (const char* line : {"F5, Ctrl+R=Refresh all feeds", "L=Mark as listened", "Q=Play last",
                             "?=Keyboard shortcuts", "Ctrl+F=Search", "Del=Unsubscribe"})
        EXPECT_TRUE(keys.contains(line)) << line << " is not among " << keys.join(u"; ").toStdString();
    QTest::keyClick(dialog, Qt::Key_Escape);  // also releases Shift for the tests that follow
}

TEST_F(SubscribedWindow, ActsAreUndoneByKeyAndInTheBanner) {
    auto* banner = Find<QFrame>("Banner");
    // The tree's first node, how many episodes are up next, and what the banner says.
    const auto state = [&]() -> QString {
        const QString said = banner->isVisible() ? banner->accessibleName() : QString();
        return Tree->model()->index(0, 0).data().toString() + u'/' + QString::number(Player->UpNext().size()) + u'/' +
               said;
    };
    const auto key = [&](QWidget* focused, const QKeySequence& keys) {
        focused->setFocus();
        if (focused == View) View->selectRow(0);
        QTest::keySequence(focused, keys);
    };
    const auto undoInBanner = [&] {
        for (auto* button : banner->findChildren<QPushButton*>())
            if (button->isVisible()) return button->click();
    };
    const auto* item = Find<QAction>("Undo");
    auto* menu = qobject_cast<QMenu*>(item->parent());
    const auto offered = [&] {
        Q_EMIT menu->aboutToShow();
        const QString text = item->isEnabled() ? item->text() : QString("nothing");
        Q_EMIT menu->aboutToHide();
        return text;
    };
    const QKeySequence undo(QKeySequence::Undo);
    const auto becomes = [&](const QString& wanted, const QString& undoable, const char* when) {
        EXPECT_TRUE(WaitUntil([&] { return state() == wanted; }, std::chrono::seconds(20)))
            << when << ": " << state().toStdString();
        EXPECT_EQ(offered(), undoable) << when;
    };
    key(View, Qt::Key_L);
    becomes("New (2)/0/Marked as listened: Part 2", "Undo: Marked as listened: Part 2", "marked");
    undoInBanner();
    becomes("New (3)/0/", "nothing", "undone in the banner");
    key(View, Qt::Key_P);
    becomes("New (2)/0/Marked as postponed: Part 2", "Undo: Marked as postponed: Part 2", "marked again");
    Player->PlayLast({u"podcast://127.0.0.1:9/1.mp3"_s});
    Q_EMIT Find<ListeningPane>()->Cleared(Player->UpNext());
    Player->SetUpNext({});
    const QString cleared = "What was up next has been removed.";
    becomes("New (2)/0/" + cleared, "Undo: " + cleared, "queued and cleared");
    Search->setText("x");
    key(Search, undo);
    Search->clear();
    becomes("New (2)/0/" + cleared, "Undo: " + cleared, "the key in a field");
    key(Tree, undo);
    becomes("New (2)/1/", "Undo: Marked as postponed: Part 2", "the newest first");
    key(View, undo);
    becomes("New (3)/1/", "nothing", "then the one before");
    key(View, undo);
    becomes("New (3)/1/", "nothing", "nothing is left");
}

TEST_F(SubscribedWindow, TheFirstSubscriptionOpensTheLibrary) {
    EXPECT_EQ(Host.Config().Find("Podcasts\\CheckUpdatesOnStartup"), "1");
    EXPECT_EQ(ShownColumns(*View), QStringList({"Title"})) << "a list";
    Find<QAction>("Compact")->trigger();
    EXPECT_EQ(ShownColumns(*View), QStringList({"Title", "Podcast", "Duration", "State", "Published", "Local copy"}));
    EXPECT_EQ(Rows()->headerData(View->horizontalHeader()->sortIndicatorSection(), Qt::Horizontal), "Published");
    Host.Language().Switch("German");
    EXPECT_EQ(QMessageBox(QMessageBox::Question, {}, {}, QMessageBox::Cancel).buttons()[0]->text(), "Abbrechen");
    EXPECT_EQ(Rows()->headerData(0, Qt::Horizontal).toString(), "Titel");
    // Everything that can have the focus has an accessible name.
    for (const QWidget* widget : PlayerWindow->findChildren<QWidget*>())
        if (widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy() &&
            widget->accessibleName().isEmpty())
            ADD_FAILURE() << widget->metaObject()->className() << " " << widget->objectName().toStdString();
    EXPECT_NO_THROW(Host.UnloadPlugins());
    EXPECT_EQ(Rows()->rowCount(), 0);
    EXPECT_EQ(Host.Config().Find("Podcasts\\CheckUpdatesOnStartup"), "1");
}

TEST_F(Window, TheFirstStartPageShowsAndSetsTheStoragesOptions) {
    Start();
    const auto option = [&] { return Find<FirstStartPage>()->findChild<QCheckBox*>(); };
    ASSERT_TRUE(option());
    EXPECT_EQ(option()->text(), "Refresh the feeds when the player starts");
    EXPECT_TRUE(option()->isChecked());
    option()->click();
    Host.Language().Switch("German");
    EXPECT_EQ(option()->text(), "Feeds beim Start des Programms aktualisieren");
    EXPECT_FALSE(option()->isChecked()) << "the user's choice does not depend on the language";
    Subscribe();
    EXPECT_EQ(Host.Config().Find("Podcasts\\CheckUpdatesOnStartup"), "0");
    const Variant value{};
    Ref<IVEXAMLStartOptions> options;
    ASSERT_EQ(Host.Library().GetActiveStorage(IVEXAMLStartOptions::IID, options.PutVoid()), S_OK);
    EXPECT_EQ(options->SetOption(MakeString("another").Get(), &value), E_INVALIDARG);
}

TEST_F(SubscribedWindow, ASearchThatFailsShowsTheReasonInPlaceOfTheRows) {
    auto* const failure = Find<QLabel>("Failure");
    Search->setText(QString(30'000, u'\u4e00'));
    ASSERT_TRUE(WaitUntil([&] { return failure->isVisible(); }));
    EXPECT_TRUE(failure->text().contains("pattern too complex")) << failure->text().toStdString();
    EXPECT_TRUE(failure->text().contains("10,000 letters")) << failure->text().toStdString();
    Search->setText("Part 1");
    ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 1; }));
    EXPECT_FALSE(failure->isVisible());
}

TEST_F(Window, AddressesFromOutsideArePlayedReadOrOffered) {
    Start();
    QSignalSpy subscribed(Find<Subscriber>(), &Subscriber::Started), done(Find<Subscriber>(), &Subscriber::Finished);
    PlayerWindow->Open({"feed://example.org/a", "podcast://example.org/b"});
    auto* dialog = Find<SubscribeDialog>("SubscribeDialog");
    ASSERT_TRUE(dialog && dialog->isVisible());
    PlayerWindow->Open({"feed:http://example.org/c", "https://example.org/d", "example.org/e", "feed://example.org/a"});
    EXPECT_EQ(dialog->findChild<QPlainTextEdit*>()->toPlainText(),
              "feed://example.org/a\npodcast://example.org/b\nfeed:http://example.org/c\nhttps://example.org/d\n"
              "example.org/e");
    EXPECT_EQ(subscribed.count(), 0);
    dialog->findChild<QPlainTextEdit*>()->setPlainText(WriteFeed());
    dialog->findChild<QPushButton*>("Subscribe")->click();
    EXPECT_EQ(subscribed.count(), 1);
    ASSERT_TRUE(WaitUntil([&] { return done.count() == 1; }));

    PlayerWindow->Open({"podcast://127.0.0.1:9/1.mp3"});
    EXPECT_EQ(Host.Player().FileName(), "podcast://127.0.0.1:9/1.mp3");
    PlayerWindow->Open({WriteFeed()});  // a local document is subscribed without asking
    EXPECT_EQ(subscribed.count(), 2);
    for (const QString& wrong : {u"gopher://example.org"_s, Profile.File("none")}) PlayerWindow->Open({wrong});
    const auto* box = Find<QMessageBox>();
    ASSERT_TRUE(box && box->isVisible());
    EXPECT_TRUE(box->text().contains("gopher") && box->text().contains("there is no file"));  // one box for both
}

TEST_F(Window, TheUserChoosesAmongThePagesFeeds) {
    Start();
    LoopbackServer server;
    const QByteArray link = "<link rel=alternate type=application/rss+xml href=";
    server.Serve("/page", Response::Of("<html>" + link + "/a title=A>" + link + "/b title=B>", "text/html"));
    server.Serve("/b", Response::Of(ReadWhole(WriteFeed())));
    auto* page = Find<FirstStartPage>();
    const auto ask = [&] {
        Find<QLineEdit>("Address")->setText(server.Url("/page"));
        page->findChild<QPushButton*>("Subscribe")->click();
        EXPECT_TRUE(WaitUntil([&] { return Find<ChoiceDialog>("ChoiceDialog") != nullptr; }));
        return Find<ChoiceDialog>("ChoiceDialog");
    };
    ask()->reject();
    EXPECT_TRUE(WaitUntil([&] { return !Find<ChoiceDialog>("ChoiceDialog"); }));
    EXPECT_FALSE(page->findChild<QLabel*>("Answer")->isVisible()) << "nothing went wrong";
    EXPECT_EQ(Find<QLineEdit>("Address")->text(), server.Url("/page"));
    ChoiceDialog* const dialog = ask();
    const auto* question = dialog->findChild<QLabel*>();
    EXPECT_TRUE(question && question->text().contains(server.Url("/page")));
    auto* list = dialog->findChild<QTreeWidget*>("Choices");
    EXPECT_EQ(list->topLevelItem(0)->text(0), "A");
    list->setCurrentItem(list->topLevelItem(1));
    dialog->findChild<QPushButton*>("Accept")->click();
    ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 3; }));
    EXPECT_EQ(server.Count("/a"), 0);
}

TEST(DroppedText, IsAcceptedIfEveryLineIsAnAddress) {
    const std::pair<const char*, const char*> cases[] = {
        {"https://h.org/f", "https://h.org/f"},
        {" h.org/f \n\nfeed:h.org/g\n", "h.org/f|feed:h.org/g"},
        {"/tmp/a.xml", "/tmp/a.xml"},
        {"see h.org", ""},
        {"mailto:ada@h.org", ""},
        {"a word", ""},
    };
    for (const auto& [text, addresses] : cases) {
        QMimeData data;
        data.setText(text);
        EXPECT_EQ(AddressesIn(data).join('|'), addresses) << text;
    }
}

TEST_F(Window, TheOptionsDialogShowsWhatAnotherProgramHasSet) {
    Start();
    SettingsFile other(SettingsFileName(Profile.Path()));
    other.Write("Podcasts\\ShowNotifications", "0");
    other.Save();
    ASSERT_TRUE(Host.Options().FrameShow(nullptr, kTrue) == S_OK);
    auto* shown = Find<QCheckBox>("CB3");
    ASSERT_TRUE(shown);
    EXPECT_FALSE(shown->isChecked());
    Find<QCheckBox>("CB1")->click();
    Find<OptionsDialog>()->accept();
    other.Write("Podcasts\\CheckUpdates", "3");
    other.Save();
    Host.Config().Save();  // as the window does before the plug-ins end
    EXPECT_NO_THROW(Host.UnloadPlugins());
    SettingsFile written(SettingsFileName(Profile.Path()));
    EXPECT_EQ(written.Find("Podcasts\\CheckUpdates"), "3") << "what was set meanwhile is overwritten at the end";
    EXPECT_EQ(written.Find("Podcasts\\ShowNotifications"), "0");
    EXPECT_EQ(written.Find("Podcasts\\CheckUpdatesOnStartup"), "1");
}

TEST_F(SubscribedWindow, ACommandOfTheTablesMenuActsOnTheSelectedRow) {
    View->selectRow(1);
    auto* pane = Find<TablePane>();
    // The table counts its rows before it reads them.
    ASSERT_TRUE(WaitUntil([&] { return !pane->CurrentFile().isEmpty(); }));
    const QString file = pane->CurrentFile();
    QTimer::singleShot(0, View, [] {
        ASSERT_TRUE(WaitUntil([] { return QApplication::activePopupWidget() != nullptr; }));
        QWidget* menu = QApplication::activePopupWidget();
        for (QAction* action : menu->findChildren<QAction*>())
            if (action->text() == "Postponed") action->trigger();
        menu->close();
    });
    Q_EMIT View->customContextMenuRequested(QPoint(5, 5));
    Tree->setCurrentIndex(Tree->model()->index(1, 0));
    ASSERT_TRUE(WaitUntil([&] { return Rows()->rowCount() == 1 && !pane->Model().IsBusy(); }));
    EXPECT_EQ(pane->Model().File(0), file);
}

TEST_F(SubscribedWindow, ItsLayoutIsOnTheDiskSoonAfterAChange) {
    const auto stored = [&](const QString& key) {
        SettingsFile settings(SettingsFileName(Profile.Path()));
        return settings.Find("Window\\" + key).value_or(QString());
    };
    ASSERT_TRUE(WaitUntil([&] { return !stored("Geometry").isEmpty(); }));
    const QString geometry = stored("Geometry"), columns = stored("Columns.VEXA.Podcasts.ML.Storage");
    PlayerWindow->resize(901, 633);
    Find<QAction>("Compact")->trigger();
    auto* header = View->horizontalHeader();
    header->resizeSection(1, header->sectionSize(1) + 40);
    EXPECT_TRUE(WaitUntil(
        [&] { return stored("Geometry") != geometry && stored("Columns.VEXA.Podcasts.ML.Storage") != columns; }));
}

TEST_F(Window, ClosedWhileSomethingPlaysItAsksOrGoesIntoTheTray) {
    LoopbackServer server;
    server.Serve("/a.mp3", Response::Of("", "audio/mpeg").With(tests::Fault::Wait));
    Start();
    const auto question = [&]() -> QMessageBox* {
        for (auto* box : PlayerWindow->findChildren<QMessageBox*>())
            if (box->isVisible()) return box;
        return nullptr;
    };
    /// Presses a button of the question; the captions of all its buttons.
    const auto answer = [&](const QString& caption) {
        QStringList captions;
        if (QMessageBox* box = question()) {
            for (QAbstractButton* button : box->buttons()) captions += button->text();
            for (QAbstractButton* button : box->buttons())
                if (button->text() == caption) button->click();
        }
        captions.sort();
        return captions;
    };
    EXPECT_TRUE(PlayerWindow->close()) << "nothing plays";
    PlayerWindow->show();
    const auto* bar = Find<PlaybackBar>();
    const int height = bar->height();
    Player->Play(server.Url("/a.mp3"));
    ASSERT_TRUE(WaitUntil([&] { return Player->IsPlaying() && Find<QAbstractButton>("NowPlaying")->isVisible(); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(bar->height(), height) << "its title moves nothing";
    EXPECT_TRUE(WaitUntil(
        [&] { return Find<QAbstractButton>("NowPlaying")->accessibleName().contains("Waiting for the server"); }));
    EXPECT_FALSE(PlayerWindow->close());
    EXPECT_EQ(answer("Keep it open"), QStringList({"End", "Keep it open"}));
    EXPECT_TRUE(PlayerWindow->isVisible());

    HasTray = true;
    EXPECT_FALSE(PlayerWindow->close());
    EXPECT_EQ(answer("Go on in the tray"), QStringList({"End", "Go on in the tray", "Keep it open"}));
    EXPECT_FALSE(PlayerWindow->isVisible());
    HasTray = false;
    EXPECT_TRUE(WaitUntil([&] { return PlayerWindow->isVisible(); })) << "the tray has vanished";
    HasTray = true;
    EXPECT_FALSE(PlayerWindow->close());
    EXPECT_FALSE(question()) << "it was answered before";
    EXPECT_FALSE(PlayerWindow->isVisible());
    PlayerWindow->BringToFront();
    auto* choice = Find<QAction>("StayInTray");
    Q_EMIT qobject_cast<QMenu*>(choice->parent())->aboutToShow();
    choice->trigger();
    EXPECT_TRUE(PlayerWindow->close()) << "the menu says so now";
}
