// pelorin-hook: the small program that a CLI's hook turns into. It tells the application what the CLI has to say, and
// brings back the user's decision if the CLI waits for one.
//
// A CLI takes every word on the output and every exit status but 0 for an answer or a failure. So all that goes wrong
// here, the application not running first of all, ends in the same way: silence and 0, as if there were no hook.

#include "BeaconryBase/FailedWrites.h"
#include "BeaconryBase/ServicePort.h"
#include "BeaconryHook/CliAdapter.h"
#include "BeaconryHook/HookCall.h"
#include "BeaconryHook/HookPost.h"
#include "BeaconryHook/ObjectInput.h"
#include "BeaconryHook/ProcessTerminal.h"
#include "BeaconryHook/ServiceConnection.h"
#include "BeaconryHook/ToolCall.h"
#include "BeaconryHook/WaitingRecords.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <poll.h>
#include <unistd.h>
#ifdef __APPLE__
#include <sys/random.h>
#endif

namespace {

using namespace pelorin;
using namespace pelorin::hook;

// All in milliseconds.
constexpr int inputWait = 3'000;
// For connecting, and for a post whose reply says nothing: an application that hangs must not hold up a CLI.
constexpr int serviceWait = 1'000;
// A little less than the time after which the CLIs give up a hook by themselves.
constexpr int decisionWait = 590'000;

// Ends without the usual clean-up, which nothing here needs. Safe in a signal handler.
[[noreturn]] void leave() {
    forgetRecord();
    _exit(0);
}

void leaveOnSignal(int) {
    leave();
}

void prepareSignals() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signal, leaveOnSignal);
    // A CLI that has stopped reading is no reason to die with another status, and neither is a limit on files.
    surviveFailedWrites();
}

std::string_view environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::string_view(value) : std::string_view();
}

// 128 random bits in hexadecimal; empty when the system has none.
std::string makeRequestId() {
    constexpr std::string_view hexDigits = "0123456789abcdef";
    unsigned char bits[16];
    if (getentropy(bits, sizeof bits) != 0)
        return {};
    std::string id;
    for (const unsigned char byte : bits) {
        id += hexDigits[byte >> 4];
        id += hexDigits[byte & 0xF];
    }
    return id;
}

void printAnswer(std::string_view answer) {
    while (!answer.empty()) {
        const ssize_t count = write(STDOUT_FILENO, answer.data(), answer.size());
        if (count > 0) {
            answer.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            pollfd readiness{STDOUT_FILENO, POLLOUT, 0};
            poll(&readiness, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return;
        }
    }
}

std::string ownRecordDirectory() {
    return recordDirectory(environmentText("XDG_RUNTIME_DIR"), environmentText("TMPDIR"));
}

void endAnsweredElsewhere(Command command, const Payload& payload) {
    const Ending ending = endingOf(command, payload);
    if (ending != Ending::none)
        endWaiting(ownRecordDirectory(), toolCallOf(payload), ending);
}

// Two ways of one request are two CLIs that both run it, or two installations of this program.
std::string originOf(const HookCall& call, std::string_view program) {
    return std::string(call.source) + " " + std::string(program);
}

/// Whether the environment is that of the session, and not of a server that has been started from somewhere else: what
/// points to a terminal must not point to that of another session.
bool isEnvironmentOfTheSession(const CliAdapter* composer, std::string_view terminal) {
    return !composer || composer->environment == CliAdapter::Environment::ofTheSession || !terminal.empty();
}

HookEnvironment hookEnvironment() {
    return {.terminalProgram = environmentText("TERM_PROGRAM"),
            .tmuxPane = environmentText("TMUX_PANE"),
            .weztermPane = environmentText("WEZTERM_PANE"),
            .kittyWindowId = environmentText("KITTY_WINDOW_ID"),
            .tmuxServer = tmuxServerIn(environmentText("TMUX"))};
}

SessionStart sessionStartInEnvironment() {
    return {.label = environmentText("PELORIN_LABEL"), .isOptedIn = environmentText("PELORIN_OPT_IN") == "1"};
}

void run(const HookCall& call, std::string_view program) {
    const auto decisionDeadline = Deadline::afterMilliseconds(decisionWait);
    const CliAdapter* adapter = adapterFor(call.source);
    if (call.command == Command::permission && !adapter)
        return;
    const auto object = readObject(STDIN_FILENO, Deadline::afterMilliseconds(inputWait));
    if (!object)
        return;

    const CliAdapter* composer = composerOf(*object, adapter);
    PayloadTexts texts;
    const Payload payload = readPayload(*object, composer, texts);
    endAnsweredElsewhere(call.command, payload);

    const auto serviceDeadline = Deadline::afterMilliseconds(serviceWait);
    auto service = ServiceConnection::open(servicePort(environmentText(servicePortVariable)), serviceDeadline);
    if (!service)
        return;

    const char* processVariable = composer ? composer->processVariable : nullptr;
    const pid_t cliProcess = processVariable ? processIdIn(environmentText(processVariable)) : 0;
    const std::string terminal = findTerminal(cliProcess, getppid(), lookUpProcess);
    const bool isKnown = isEnvironmentOfTheSession(composer, terminal);
    HookEnvironment environment = isKnown ? hookEnvironment() : HookEnvironment();
    environment.source = composer ? composer->source : call.source;
    environment.tty = terminal;
    environment.helperProcess = getpid();
    if (isKnown) {
        const NamedProcess cli = findCli(cliProcess, getpid(), lookUpProcess);
        environment.cliProcess = cli.process;
        environment.cliStartTime = cli.startTime;
    }
    const auto post = planPost(call, composer, payload, environment, makeRequestId(),
                               isKnown ? sessionStartInEnvironment() : SessionStart());
    if (!post)
        return;

    if (post->reply == HookPost::Reply::ignored) {
        if (service->send(post->request, serviceDeadline))
            service->awaitReply(serviceDeadline);
        return;
    }
    if (recordWaiting(ownRecordDirectory(), toolCallOf(payload), originOf(call, program)) == Recording::doubled)
        return;
    service->resetUnlessAnswered();
    if (service->send(post->request, decisionDeadline))
        printAnswer(adapter->answer(service->awaitDecision(STDOUT_FILENO, decisionDeadline), payload));
}

} // namespace

int main(int count, char** arguments) {
    // The library throws where memory runs out.
    std::set_terminate(leave);
    prepareSignals();
    if (const auto call = parseArguments(count - 1, arguments + 1))
        run(*call, arguments[0]);
    leave();
}
