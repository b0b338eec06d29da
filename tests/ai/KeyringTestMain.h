#pragma once

// A main for tests that use the key store: they re-run themselves inside keyring.sh, so that
// every run, from ctest or by hand, meets a real Secret Service of its own.

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>
#include <vector>

#define TAVIK_KEYRING_TEST_MAIN(TestObject)                                                        \
    int main(int argc, char** argv) {                                                              \
        if (!qEnvironmentVariableIsSet("TAVIK_TEST_KEYRING")) {                                    \
            std::vector<char*> args{const_cast<char*>(TAVIK_KEYRING_SCRIPT)};                      \
            args.insert(args.end(), argv, argv + argc);                                            \
            args.push_back(nullptr);                                                               \
            execv(args[0], args.data());                                                           \
            qFatal("cannot run %s", TAVIK_KEYRING_SCRIPT);                                         \
        }                                                                                          \
        QCoreApplication app(argc, argv);                                                          \
        TestObject test;                                                                           \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
