// The main function of the playback tests. With "--play" and two more arguments it is the program that one of them
// kills.

#include "PlaybackFixture.h"
#include "TestMain.h"

#include <QApplication>

namespace {

int Play(int argc, char** argv) {
    QApplication application(argc, argv);
    AttachMainThread();
    host::Host host({QString::fromLocal8Bit(argv[2]), QStringLiteral(LANGUAGES), u"English"_s, {}});
    host::Playback playback(host, u"fakesink sync=true"_s);
    playback.Play(QString::fromLocal8Bit(argv[3]));
    playback.Seek(20);
    return QApplication::exec();
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc == 4 && QByteArrayView(argv[1]) == "--play") return Play(argc, argv);
    return tests::RunAll<QApplication>(argc, argv);
}
