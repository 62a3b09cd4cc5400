#include "tests/app/RunningApplication.h"

#include "tests/support/LoopbackListener.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <asio.hpp>
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace pelorin {

namespace {

const std::string applicationPath = PELORIN_BINARY_DIR "/pelorin";

std::uint16_t freePort() {
    return LoopbackListener().port();
}

std::string roundTrip(std::uint16_t port, const std::string& request) {
    asio::io_context context;
    asio::ip::tcp::socket socket(context);
    asio::error_code error;
    socket.connect({asio::ip::address_v4::loopback(), port}, error);
    if (error)
        return {};
    asio::write(socket, asio::buffer(request), error);
    std::string reply;
    asio::read(socket, asio::dynamic_buffer(reply), error);
    return reply;
}

} // namespace

RunningApplication::RunningApplication(const QJsonObject& settings, Screen screen, const std::string& display,
                                       std::vector<std::string> additional)
    : m_screen(screen), m_display(display), m_additional(std::move(additional)), m_port(freePort()) {
    if (!settings.isEmpty()) {
        QDir().mkpath(m_home.filePath(".config/com.pelorin.manager"));
        QFile file(m_home.filePath(".config/com.pelorin.manager/defaults.json"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        // No relay is spoken to unless the test brings one.
        QJsonObject stored{{"relayURL", ""}};
        for (auto value = settings.begin(); value != settings.end(); ++value)
            stored.insert(value.key(), value.value());
        file.write(QJsonDocument(stored).toJson());
    }
    m_process = startAnotherCopy();
    const WaitLimit limit(patience);
    while (request("/status").empty() && limit.remainingMilliseconds() > 0)
        std::this_thread::yield();
    EXPECT_FALSE(request("/status").empty()) << "The application does not answer.";
}

std::vector<std::string> sanitizerOptions() {
    std::vector<std::string> options;
    for (const char* name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
        if (const char* value = std::getenv(name))
            options.push_back(std::string(name) + "=" + value);
    }
    return options;
}

std::vector<std::string> RunningApplication::environment() const {
    std::vector<std::string> variables{
        // The toolkit complains about a locale without UTF-8.
        "LANG=C.UTF-8", "HOME=" + m_home.path().toStdString(), "XDG_RUNTIME_DIR=" + m_home.path().toStdString(),
        "BEACONRY_PORT=" + std::to_string(m_port), std::string("PATH=") + std::getenv("PATH"),
        "PELORIN_HOOK_HELPER=" PELORIN_BINARY_DIR "/pelorin-hook",
        // Nobody answers there: what would go to another machine stays on this one.
        "all_proxy=http://127.0.0.1:9", "https_proxy=http://127.0.0.1:9"};
    variables.insert(variables.end(), m_additional.begin(), m_additional.end());
    if (m_screen == Screen::offscreen)
        variables.emplace_back("QT_QPA_PLATFORM=offscreen");
    if (m_screen == Screen::x11)
        variables.push_back("DISPLAY=" + m_display);
    const std::vector<std::string> options = sanitizerOptions();
    variables.insert(variables.end(), options.begin(), options.end());
    return variables;
}

std::unique_ptr<TestProcess> RunningApplication::startAnotherCopy(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{applicationPath};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return TestProcess::start({.command = command, .environment = environment()});
}

std::unique_ptr<TestProcess> RunningApplication::startHook(const std::string& script, const std::string& payload,
                                                           const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{PELORIN_SOURCE_DIR "/hooks/" + script};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto hook = TestProcess::start(
        {.command = command, .environment = environment(), .channels = ChildOptions::Channels::sockets});
    EXPECT_TRUE(hook->writeInput(payload));
    hook->closeInput();
    return hook;
}

std::string RunningApplication::request(const std::string& path, const std::string& body) const {
    const std::string reply = roundTrip(
        m_port, "POST " + path + " HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    const std::size_t headEnd = reply.find("\r\n\r\n");
    return headEnd == std::string::npos ? std::string() : reply.substr(headEnd + 4);
}

QJsonObject RunningApplication::status() const {
    return QJsonDocument::fromJson(QByteArray::fromStdString(request("/status"))).object();
}

bool RunningApplication::waitForStatus(const char* key, int value) const {
    const WaitLimit limit(patience);
    while (status().value(QLatin1String(key)).toInt(-1) != value) {
        if (limit.remainingMilliseconds() == 0)
            return false;
        std::this_thread::yield();
    }
    return true;
}

bool RunningApplication::homeContains(const QString& name) const {
    return QDirIterator(m_home.path(), {name}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories)
        .hasNext();
}

std::string capturedPayload(const char* name) {
    QFile file(QStringLiteral(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude/tui/%1.json").arg(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll().toStdString();
}

const std::string allowedByHook =
    R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})";
const std::string deniedByHook =
    R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"deny",)"
    R"("message":"Denied in Pelorin."}}})";

FinishedProgram runProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    const auto process = TestProcess::start({.command = command, .environment = environment});
    process->closeInput();
    const auto exit = process->waitForExit();
    EXPECT_TRUE(exit.has_value()) << command.front() << " does not end.";
    return {exit.value_or(ChildExit{}), process->output(), process->errors()};
}

} // namespace pelorin
