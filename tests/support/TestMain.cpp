// The main function of every test program. With TEST_WINDOWS it is one that shows windows, on no screen.

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
