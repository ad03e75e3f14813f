// The main function of the window and playback tests. The windows are drawn in memory.

#include "TestMain.h"

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    return tests::RunAll<QApplication>(argc, argv);
}
