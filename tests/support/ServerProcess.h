#pragma once

// A server a test runs as its own child: started and waited on until it is ready, stopped
// when the object goes.

#include <QProcess>
#include <QTest>
#include <csignal>
#include <functional>
#include <sys/prctl.h>

class ServerProcess : public QProcess {
public:
    ServerProcess() {
        // A test that crashes must not leave its server running.
        setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    }
    ~ServerProcess() override { stop(); }

    // Starts the program set on it and waits until `ready` holds; false if the process
    // exits first or `timeout` passes.
    [[nodiscard]] bool startUntil(const std::function<bool()>& ready, int timeout) {
        start();
        return waitForStarted() &&
               QTest::qWaitFor([&] { return ready() || state() != Running; }, timeout) &&
               state() == Running;
    }

    void stop() {
        if (state() == NotRunning)
            return;
        terminate();
        if (!waitForFinished(5000))
            kill();
        waitForFinished(2000);
    }
};
