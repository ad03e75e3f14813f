#include "Fuzzing.h"

#include "TempFolder.h"
#include "VEXA.Runtime.Threads.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>
#include <cstdlib>

namespace fuzzing {

QList<QByteArray> Parts(const std::uint8_t* data, std::size_t size, qsizetype count) {
    QList<QByteArray> parts =
        QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)).split('\xFF');
    while (parts.size() < count) parts += QByteArray();
    return parts;
}

void Require(bool holds, const char* promise, const QString& what) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s: %s\n", promise, qPrintable(what));
    std::abort();
}

}  // namespace fuzzing

/// Called by the fuzzer once, before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // Keep the programs away from the user's own folders.
    static const tests::TempFolder home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
        qputenv(variable, QFile::encodeName(home.Path()));
    QLoggingCategory::setFilterRules(QStringLiteral("podcasts.*=false\nvexa.*=false"));
    static const QCoreApplication application(*argc, *argv);
    vexa::AttachMainThread();
    return 0;
}
