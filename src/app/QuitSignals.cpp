#include "QuitSignals.h"

#include <QSocketNotifier>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Written by the handler, read by the loop.
int pipeEnds[2] = {-1, -1};

void handle(int signal) {
    const unsigned char byte = static_cast<unsigned char>(signal);
    // Nothing to do about a full pipe: a quit is already on its way.
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[0], &byte, 1);
}

constexpr int handled[] = {SIGTERM, SIGHUP, SIGINT};

} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pipeEnds) != 0)
        return;
    m_notifier = new QSocketNotifier(pipeEnds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &QuitSignals::readPipe);
    struct sigaction action {};
    action.sa_handler = handle;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : handled)
        ::sigaction(signal, &action, nullptr);
}

QuitSignals::~QuitSignals() {
    for (const int signal : handled)
        std::signal(signal, SIG_DFL);
    if (pipeEnds[0] >= 0) {
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        pipeEnds[0] = pipeEnds[1] = -1;
    }
}

void QuitSignals::readPipe() {
    unsigned char byte = 0;
    while (::read(pipeEnds[1], &byte, 1) == 1)
        emit received(int(byte));
}
