// A look at a podcast before subscribing, as a host gets it.

#include "HostFixture.h"
#include "LoopbackServer.h"
#include "ObjectList.h"
#include "PlainSqlite.h"
#include "Properties.h"
#include "Rows.h"
#include "Waiting.h"

namespace tests {
namespace {

const QByteArray kFeed = R"(<rss version="2.0" xmlns:itunes="http://www.itunes.com/dtds/podcast-1.0.dtd"><channel>
    <title>Harbour</title><itunes:author>Ada</itunes:author>
    <item><title>Second</title><guid>2</guid><pubDate>Mon, 02 Nov 2026 06:00:00 GMT</pubDate>
        <enclosure url="audio/2.mp3" type="audio/mpeg"/></item>
    <item><title>First</title><guid>1</guid><pubDate>Sun, 01 Nov 2026 06:00:00 GMT</pubDate>
        <enclosure url="http://h/1.mp3?time=1" type="audio/mpeg"/></item>
    <item><title>Twice</title><guid>1b</guid><pubDate>Sat, 31 Oct 2026 06:00:00 GMT</pubDate>
        <enclosure url="http://h/1.mp3?time=1" type="audio/mpeg"/></item>
    <item><title>Disk</title><guid>d</guid><pubDate>Fri, 30 Oct 2026 06:00:00 GMT</pubDate>
        <enclosure url="file:///etc/passwd" type="audio/mpeg"/></item>
    <item><title>Silent</title><guid>s</guid><pubDate>Thu, 29 Oct 2026 06:00:00 GMT</pubDate></item>
    </channel></rss>)";

class Opened final : public RefCountedObject<IVEXAMLPreviewEvents, IVEXAMLSubscriptionChoices> {
public:
    void OnOpened(HResult result, IVEXAMLDataProvider* rows, IVEXAMLFound* info, IVEXAString* text) noexcept override {
        ++Calls;
        Result = result;
        Rows = Ref<IVEXAMLDataProvider>(rows);
        Info = Ref<IVEXAMLFound>(info);
        Text = host::ToQString(text);
    }
    void OnChoices(IVEXAString*, IVEXAObjectList* feeds, IVEXAObjectList*) noexcept override {
        Choices = host::ToQStringList(feeds);
    }

    int Calls = 0;
    HResult Result = S_OK;
    Ref<IVEXAMLDataProvider> Rows;
    Ref<IVEXAMLFound> Info;
    QString Text;
    QStringList Choices;
};

class Preview : public HostTest {
protected:
    Preview() { Host.LoadPlugin(QStringLiteral(PLUGIN)); }
    ~Preview() override { Host.UnloadPlugins(); }

    Ref<IVEXAMLPreview> Storage() { return host::LibraryStorage(Host.Library()).Offered<IVEXAMLPreview>(); }
    Ref<Opened> Begin(const QString& address) {
        const Ref<Opened> opened(new Opened);
        EXPECT_EQ(Storage()->Open(host::MakeString(address).Get(), opened.Get(), &Opening), S_OK);
        EXPECT_EQ(opened->Calls, 0);
        return opened;
    }
    Ref<Opened> Open(const QString& address) {
        const auto opened = Begin(address);
        EXPECT_TRUE(WaitUntil([&] { return opened->Calls > 0; })) << address.toStdString();
        return opened;
    }
    /// The rows of a request, each with its values separated by blanks.
    QStringList Rows(const Ref<Opened>& opened, const host::RowQuery& query) {
        const auto storage = host::LibraryStorage(Host.Library()).WithRows(opened->Rows);
        const auto page = host::RowReader(storage).ReadNow(query);
        EXPECT_FALSE(page.Error) << page.Error.English().toStdString();
        QStringList rows;
        for (const auto& row : page.Rows) {
            QStringList values;
            for (const host::RowValue& value : row) values += value.Text;
            rows += values.join(u' ');
        }
        return rows;
    }

    LoopbackServer Server;
    std::int64_t Opening = 0;
};

TEST_F(Preview, ItsRowsAreThoseOfTheStorageWithPlainAddressesAndNothingIsStored) {
    Server.Serve("/feed", Response::Of(kFeed));
    Server.Serve("/page", Response::Of("<html><head><link rel=alternate type='application/rss+xml' href=/feed></head>",
                                       "text/html"));
    const auto opened = Open(Server.Url("/page"));
    ASSERT_EQ(opened->Result, S_OK) << opened->Text.toStdString();
    using Found = IVEXAMLFound;
    EXPECT_EQ(host::TextOf(opened->Info.Get(), Found::Address), Server.Url("/feed"));
    EXPECT_EQ(host::TextOf(opened->Info.Get(), Found::Title), "Harbour");
    EXPECT_EQ(host::TextOf(opened->Info.Get(), Found::Author), "Ada");
    EXPECT_EQ(host::NumberOf(opened->Info.Get(), Found::RowCount), 5);
    EXPECT_EQ(host::NumberOf(opened->Info.Get(), Found::IsSubscribed), 0);

    host::RowQuery query{.Fields = {"Title", "FileName"}};
    query.Sort = {{"PublishDate", IVEXAMLSortDirection::Descending}};
    const QStringList all{"Second " + Server.Url("/audio/2.mp3"), "First http://h/1.mp3?time=1",
                          "Twice http://h/1.mp3?time=1#2", "Disk ", "Silent "};
    EXPECT_EQ(Rows(opened, query), all);
    query.Offset = 1, query.Limit = 2;
    EXPECT_EQ(Rows(opened, query), all.sliced(1, 2));
    query.Search = "sil";
    query.Offset = 0;
    EXPECT_EQ(Rows(opened, query), all.sliced(4));
    EXPECT_EQ(opened->Rows->GetData(nullptr, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(PlainSqlite(Profile.File("Podcasts.db")).Rows("SELECT Title FROM PodcastEpisodes"), QStringList());
}

TEST_F(Preview, WhatCannotBeShownIsExplained) {
    Server.Serve("/gone", Response::Failure("410 Gone"));
    Server.Serve("/two", Response::Of("<html><link rel=alternate type='application/rss+xml' href=/a><link "
                                      "rel=alternate type='application/rss+xml' href=/b></html>",
                                      "text/html"));
    EXPECT_EQ(Open("no address")->Result, E_INVALIDARG);
    const auto gone = Open(Server.Url("/gone"));
    EXPECT_EQ(gone->Result, E_FAIL);
    EXPECT_TRUE(gone->Text.contains("410")) << gone->Text.toStdString();
    const auto two = Open(Server.Url("/two"));
    EXPECT_EQ(two->Result, S_FALSE);
    EXPECT_EQ(two->Choices, QStringList({Server.Url("/a"), Server.Url("/b")}));
}

TEST_F(Preview, ItEndsWhenItIsCancelledAndWithThePlugIn) {
    Server.Serve("/feed", Response::Of(kFeed));
    Server.Serve("/never", Response::Of(kFeed).With(Fault::Wait));
    const auto cancelled = Begin(Server.Url("/never"));
    EXPECT_EQ(Storage()->CancelOpening(Opening), S_OK);
    EXPECT_TRUE(WaitUntil([&] { return cancelled->Calls == 1; }));
    EXPECT_EQ(cancelled->Result, E_ABORT);
    EXPECT_TRUE(WaitUntil([&] { return Storage()->CancelOpening(Opening) == S_FALSE; })) << "it has ended";

    const auto opened = Open(Server.Url("/feed")), waiting = Begin(Server.Url("/never"));
    Host.UnloadPlugins();
    EXPECT_EQ(waiting->Calls, 1);
    EXPECT_EQ(waiting->Result, E_ABORT);
    const Ref<IVEXAMLDataFilter> filter(new host::DataFilter);
    Ref<IUnknown> data;
    EXPECT_EQ(opened->Rows->GetData(host::MakeStringList({"Title"}).Get(), filter.Get(), data.Put()), E_FAIL);
}

}  // namespace
}  // namespace tests
