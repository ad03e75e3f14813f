// The main function of the tests of playing, and with three arguments the program that one of them kills.

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

// What LeakSanitizer asks a program: GLib keeps some memory for the life of the process, the tables that it makes when
// it is loaded and the lists of weak references that it sets up while an object of its own is being freed. Debian
// builds it without frame pointers, so only the slow unwinder sees who asked.
extern "C" const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}
extern "C" const char* __lsan_default_suppressions() {
    return "leak:call_init\nleak:g_object_unref\n";
}
extern "C" const char* __lsan_default_options() {
    return "print_suppressions=0";
}

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc == 4 && QByteArrayView(argv[1]) == "--play") return Play(argc, argv);
    return tests::RunAll<QApplication>(argc, argv);
}
