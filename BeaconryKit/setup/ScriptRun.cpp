#include "BeaconryKit/setup/ScriptRun.h"

#include <cstring>
#include <unistd.h>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin {

Environment processEnvironment() {
    Environment environment;
    for (char** variable = environ; *variable; ++variable) {
        const char* sign = std::strchr(*variable, '=');
        if (sign)
            environment.emplace(QByteArray(*variable, sign - *variable), QByteArray(sign + 1));
    }
    return environment;
}

tl::expected<ProgramOutcome, QString> runScript(const QByteArray& executable, const QList<QByteArray>& arguments,
                                                const Environment& environment) {
    ChildProcess::Launch launch;
    launch.executable = executable;
    launch.arguments = arguments;
    launch.environment.emplace();
    for (const auto& [name, value] : environment)
        launch.environment->append(name + '=' + value);
    return capture(std::move(launch)).map_error([](const std::error_code& error) {
        return QString::fromStdString(error.message());
    });
}

} // namespace pelorin
