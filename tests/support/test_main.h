#pragma once

#include <clocale>

#include <QApplication>
#include <QTest>

// Runs a test class as the program would run: libmpv needs the C locale's numbers, and closing a
// window ends nothing.
template <class Test, class Application>
int runTest(int argc, char *argv[])
{
    Application application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    std::setlocale(LC_NUMERIC, "C");
    Test test;
    return QTest::qExec(&test, argc, argv);
}

// The main functions of tests with windows, and of those without.
#define MORAVU_TEST(Test)                                                                          \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        return runTest<Test, QApplication>(argc, argv);                                            \
    }
#define MORAVU_TEST_WITHOUT_WINDOWS(Test)                                                          \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        return runTest<Test, QCoreApplication>(argc, argv);                                        \
    }
