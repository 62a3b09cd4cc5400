#include "BeaconryApp/CommandLine.h"

namespace pelorin {

namespace {

const auto usage = QStringLiteral(R"(usage: pelorin [--manager | --help | --version]

Shows every moment at which one of your AI coding sessions needs you, and carries
your answer back. Hooks reach it on 127.0.0.1, port 45789, or the port that the
environment variable BEACONRY_PORT names. Settings are kept in
~/.config/com.pelorin.manager/defaults.json.

  --manager   show the manager window; where Pelorin runs already, it comes forward
              there and nothing is started
)");

const auto managerOption = QStringLiteral("--manager");

} // namespace

std::optional<CommandLineAnswer> answerCommandLine(const QStringList& arguments) {
    for (const QString& argument : arguments.sliced(1)) {
        if (argument == u"--help" || argument == u"-h")
            return CommandLineAnswer{usage};
        if (argument == u"--version")
            return CommandLineAnswer{QStringLiteral("pelorin " PELORIN_VERSION "\n")};
        if (argument == managerOption)
            continue;
        return CommandLineAnswer{QStringLiteral("pelorin: %1 is no option of this program.\n").arg(argument) + usage,
                                 2};
    }
    return std::nullopt;
}

bool asksForManager(const QStringList& arguments) {
    return arguments.sliced(1).contains(managerOption);
}

} // namespace pelorin
