// The main function of every test program without windows.

#include "TestMain.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    return tests::RunAll<QCoreApplication>(argc, argv);
}
