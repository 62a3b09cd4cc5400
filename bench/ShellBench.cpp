#include "bench/Measure.h"

#include "BeaconryKit/platform/ChildProcess.h"
#include "BeaconryKit/platform/PseudoTerminal.h"
#include "BeaconryKit/terminal/PtyShell.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <semaphore>
#include <unistd.h>

// How fast the output of a shell that floods its terminal comes over, against a loop that does nothing but read such a
// terminal.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

const int rounds = repetitions(31);
constexpr qint64 floodSize = 20'000'000;

/// A program that prints a flood and then stays.
QByteArray writeShell(const QTemporaryDir& folder, const QString& name, const QByteArray& script) {
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly))
        std::abort();
    file.write("#!/bin/sh\nstty -opost\n" + script + "exec sleep 1000\n");
    file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    return file.fileName().toUtf8();
}

/// Notes when the first and the last byte of a flood came.
class Flood {
public:
    /// Whether that was the last of it.
    bool add(qint64 size) {
        if (m_size == 0)
            m_start = Clock::now();
        m_size += size;
        return m_size >= floodSize;
    }
    double seconds() const { return secondsSince(m_start); }

private:
    Clock::time_point m_start;
    qint64 m_size = 0;
};

double bareSeconds(const QByteArray& shell) {
    auto terminal = PseudoTerminal::open({80, 24});
    if (!terminal)
        std::abort();
    ChildProcess::Launch launch;
    launch.executable = shell;
    launch.standardInput = terminal->slave.number();
    launch.standardOutput = terminal->slave.number();
    launch.standardError = terminal->slave.number();
    launch.group = ChildProcess::Group::ownSession;
    const auto process = ChildProcess::start(std::move(launch));
    if (!process)
        std::abort();
    terminal->slave.reset();
    Flood flood;
    char buffer[PtyShell::readSize];
    for (ssize_t count = 0; (count = read(terminal->master.number(), buffer, sizeof buffer)) > 0;) {
        if (flood.add(count))
            break;
    }
    const double seconds = flood.seconds();
    process->terminate();
    return seconds;
}

double shellSeconds(Dispatch& dispatch, const QByteArray& shell) {
    qputenv("SHELL", shell);
    Flood flood;
    double seconds = 0;
    std::binary_semaphore done(0);
    PtyShell phoneShell(dispatch, [&](const QByteArray& bytes) {
        if (seconds == 0 && flood.add(bytes.size())) {
            seconds = flood.seconds();
            done.release();
        }
    });
    phoneShell.start(80, 24);
    done.acquire();
    return seconds;
}

void measure(Dispatch& dispatch, const char* name, const QByteArray& shell) {
    std::vector<double> bare;
    std::vector<double> ours;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(bareSeconds(shell));
        ours.push_back(shellSeconds(dispatch, shell));
    }
    // The fastest rounds: whatever else the machine does can only make one slower.
    const double megabytes = static_cast<double>(floodSize) / 1e6;
    const double ourBest = std::ranges::min(ours);
    const double bareBest = std::ranges::min(bare);
    std::printf("%-16s shell %6.0f MB/s, bare loop %6.0f MB/s, ratio %.2f (of the medians %.2f)\n", name,
                megabytes / ourBest, megabytes / bareBest, bareBest / ourBest, median(bare) / median(ours));
}

} // namespace

int main() {
    const QTemporaryDir folder;
    const auto dispatch = makeSystemDispatch();
    const QByteArray size = QByteArray::number(floodSize);
    measure(*dispatch, "large writes", writeShell(folder, "large", "head -c " + size + " /dev/zero\n"));
    measure(
        *dispatch, "lines of text",
        writeShell(folder, "lines", "yes 'It is a line of text, as a compiler writes it.' | head -c " + size + '\n'));
}
