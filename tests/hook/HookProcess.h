#pragma once

#include "tests/support/LoopbackListener.h"
#include "tests/support/TestProcess.h"

#include <QJsonObject>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace pelorin {

/// The helper under test: that of this build, unless the variable PELORIN_HOOK_HELPER names another, as that of a
/// release for a build with sanitizers.
const std::string& testedHelper();

/// Where the hooks of this test program keep what is of use only while they run.
const std::filesystem::path& hookRuntimeDirectory();

/// Starts a hook as a CLI does, with sockets for its input and output, and nothing in its environment but a search
/// path, the application's port, the directory for what runs, and what is given, which goes first.
std::unique_ptr<TestProcess> startHook(const std::vector<std::string>& command, std::uint16_t port,
                                       const std::vector<std::string>& environment = {});

/// Starts a hook, hands it the whole payload and ends its input.
std::unique_ptr<TestProcess> runHook(const std::vector<std::string>& command, const std::string& payload,
                                     std::uint16_t port, const std::vector<std::string>& environment = {});

/// Expects that the hook ends by itself with 0, has printed exactly this, nothing in the way of errors, and has left
/// nobody behind who could still print.
void expectQuietEnd(TestProcess& hook, const std::string& output = {});

/// The next request that comes in, which is expected to come.
ReceivedRequest nextRequest(LoopbackListener& listener);

/// The body as a JSON object, which it is expected to be.
QJsonObject jsonObject(const std::string& body);

} // namespace pelorin
