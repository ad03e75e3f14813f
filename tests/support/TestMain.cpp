// The main program of every test program: a main thread to run things on, and a home folder of its own.

#include "VEXA.Runtime.Threads.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char* argv[]) {
    testing::InitGoogleTest(&argc, argv);
    const QTemporaryDir home;
    if (!home.isValid()) return 1;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    const QCoreApplication application(argc, argv);
    vexa::AttachMainThread();
    return RUN_ALL_TESTS();
}
