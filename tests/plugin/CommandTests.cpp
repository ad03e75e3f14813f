// Commands that work on another thread, and how they report failures.

#include "DialogFixture.h"
#include "Podcasts.Plugin.Commands.h"
#include "Podcasts.Plugin.Dialogs.h"
#include "Podcasts.Plugin.FileManager.h"
#include "VEXA.Runtime.Threads.h"

#include <QDir>

#include <atomic>
#include <thread>

namespace podcasts {

using namespace vexa;

namespace {

class CommandTest : public DialogTest {
protected:
    CommandTest() { TVEXAPodcastsFileManager::RegisterFileManager(*Client); }
    ~CommandTest() override { TVEXAPodcastsFileManager::UnregisterFileManager(); }
};

TEST_F(CommandTest, LongWorkDoesNotBlockTheMainThreadKeepsItsOrderAndEndsBeforeTheClient) {
    std::atomic<bool> mayEnd{false};
    std::string order;
    RunCommand([&](TPodcastClient&) {
        EXPECT_FALSE(IsMainThread());
        while (!mayEnd) std::this_thread::yield();
        order += '1';
    });
    mayEnd = true;  // reached only if RunCommand does not wait for the work
    const QString message = MessageOf([&] {
        RunCommand([&](TPodcastClient&) {
            order += '2';
            throw std::runtime_error("cannot be <b>done</b>");
        });
    });
    EXPECT_EQ(message, "warning: cannot be <b>done</b>");
    RunCommand([&](TPodcastClient& client) {
        while (!TPodcastsClientPass::IsClosing()) std::this_thread::yield();
        EXPECT_FALSE(client.IsSubscribed("http://h/f"));
        order += '3';
    });
    RunCommand([&](TPodcastClient& client) { client.NotifyDataChanged(), order += '4'; });
    TVEXAPodcastsFileManager::UnregisterFileManager();
    EXPECT_EQ(order, "1234");
    RunCommand([&](TPodcastClient&) { order += "too late"; });
    EXPECT_EQ(order, "1234");
}

TEST_F(CommandTest, FilesThatCannotBeTrashedStayAndAreReported) {
    const QString noTrash = qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash";
    QDir(noTrash).removeRecursively();
    QDir().mkpath(qEnvironmentVariable("XDG_DATA_HOME"));
    WriteWhole(noTrash, "a file in place of the folder");
    Subscribe(tests::MakeFeed("http://h/f", 275));
    QStringList keys, files;
    for (int i = 0; i < 275; ++i) {
        keys += QString("podcast://h/%1.mp3").arg(i);
        files += Profile.File(QString(250, 'x') + QString("/%1 ").arg(i) + QString("<i>").repeated(80));
        WriteWhole(files.last(), "sound");
        Client->DB().SetCachedFile(keys.last(), files.last());
    }

    const auto deleteFiles = [&](const QStringList& some) {
        return MessageOf([&] { RunCommand([&](TPodcastClient& client) { DeleteCachedEpisodes(client, some); }); });
    };
    const auto shown = [&](int i) { return TextForLabel(files[i], 300); };
    const QString begin = "warning: There is no trash for %1 of the files. They were not deleted:\n\n";
    EXPECT_EQ(deleteFiles(keys.mid(0, 1)), begin.arg(1) + shown(0));
    EXPECT_TRUE(deleteFiles(keys.mid(1, 252)).startsWith(begin.arg(252) + shown(1))) << "more than one group";
    const QString many =
        MessageOf([&] { RunCommand([&](TPodcastClient& client) { Unsubscribe(client, "http://h/f", true); }); });
    EXPECT_TRUE(many.startsWith(begin.arg(22) + shown(253))) << many.toStdString();
    EXPECT_TRUE(many.endsWith(shown(262) + u"\n…")) << many.toStdString();
    EXPECT_FALSE(Client->IsSubscribed("http://h/f"));
    for (const QString& file : files) EXPECT_TRUE(QFile::exists(file));
    QFile::remove(noTrash);
}

}  // namespace

}  // namespace podcasts
