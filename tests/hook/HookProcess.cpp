#include "tests/hook/HookProcess.h"

#include "tests/support/TemporaryDirectory.h"

#include <QJsonDocument>
#include <gmock/gmock.h>

#include <cstdlib>

namespace pelorin {

const std::string& testedHelper() {
    static const std::string helper = [] {
        const char* other = std::getenv("PELORIN_HOOK_HELPER");
        return std::string(other ? other : PELORIN_BINARY_DIR "/pelorin-hook");
    }();
    return helper;
}

const std::filesystem::path& hookRuntimeDirectory() {
    static const TemporaryDirectory directory;
    return directory.path();
}

std::unique_ptr<TestProcess> startHook(const std::vector<std::string>& command, std::uint16_t port,
                                       const std::vector<std::string>& environment) {
    ChildOptions options{.command = command, .environment = environment, .channels = ChildOptions::Channels::sockets};
    options.environment.push_back("PATH=/usr/bin:/bin");
    options.environment.push_back("BEACONRY_PORT=" + std::to_string(port));
    // Of two variables of one name the first counts.
    options.environment.push_back("XDG_RUNTIME_DIR=" + hookRuntimeDirectory().string());
    auto hook = TestProcess::start(options);
    EXPECT_TRUE(hook);
    return hook;
}

std::unique_ptr<TestProcess> runHook(const std::vector<std::string>& command, const std::string& payload,
                                     std::uint16_t port, const std::vector<std::string>& environment) {
    auto hook = startHook(command, port, environment);
    // A hook may end without reading.
    (void)hook->writeInput(payload);
    hook->closeInput();
    return hook;
}

void expectQuietEnd(TestProcess& hook, const std::string& output) {
    EXPECT_EQ(hook.waitForExit(), exited(0));
    EXPECT_EQ(hook.output(), output);
    EXPECT_EQ(hook.errors(), "");
    EXPECT_TRUE(hook.hasOutputEnded());
}

ReceivedRequest nextRequest(LoopbackListener& listener) {
    auto connection = listener.accept();
    EXPECT_TRUE(connection);
    auto request = connection ? connection->readRequest() : std::nullopt;
    EXPECT_TRUE(request);
    return request.value_or(ReceivedRequest());
}

QJsonObject jsonObject(const std::string& body) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(body), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << body;
    return document.object();
}

} // namespace pelorin
