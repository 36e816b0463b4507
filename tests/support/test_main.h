#pragma once

#include <clocale>

#include <QApplication>
#include <QTest>

// A slow machine needs longer than the 5 s of Qt's own; who waits for nothing waits no longer.
constexpr int LongestWait = 30000; // ms
#undef QTRY_VERIFY
#undef QTRY_VERIFY2
#undef QTRY_COMPARE
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), LongestWait)
#define QTRY_VERIFY2(expression, text) QTRY_VERIFY2_WITH_TIMEOUT((expression), (text), LongestWait)
#define QTRY_COMPARE(found, expected) QTRY_COMPARE_WITH_TIMEOUT((found), (expected), LongestWait)

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
