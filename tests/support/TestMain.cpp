// The main function of every test program. TEST_WINDOWS makes it one with windows, drawn in memory.

#include "TestMain.h"

#ifdef TEST_WINDOWS
#include <QApplication>
using Application = QApplication;
#else
#include <QCoreApplication>
using Application = QCoreApplication;
#endif

int main(int argc, char** argv) {
#ifdef TEST_WINDOWS
    qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    return tests::RunAll<Application>(argc, argv);
}
