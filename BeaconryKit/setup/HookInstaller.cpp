#include "BeaconryKit/setup/HookInstaller.h"

#include "BeaconryBase/UserFolders.h"

#include "BeaconryKit/platform/ResourceDirectory.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <algorithm>
#include <array>

namespace pelorin {

namespace {

constexpr QLatin1StringView installerName("/install-hooks.sh");
constexpr QLatin1StringView uninstallerName("/uninstall-hooks.sh");
constexpr qint64 settingsSizeLimit = 16LL * 1024 * 1024;
constexpr QLatin1StringView scriptsFolder("/scripts");

// The current directory and five ancestors.
constexpr int examinedDirectories = 6;

constexpr std::array<QByteArrayView, 5> hookScripts = {
    "claude-permission-hook.sh", "claude-notify-hook.sh",     "claude-clear-hook.sh",
    "claude-register-hook.sh",   "claude-unregister-hook.sh",
};

QString parentOf(const QString& directory) {
    return directory.left(directory.lastIndexOf(u'/'));
}

bool isRoot(const QString& directory) {
    return directory.isEmpty() || directory == u"/";
}

/// The nearest of the directory and its first ancestors that holds the folder of the scripts.
std::optional<QString> checkoutAround(QString directory) {
    for (int count = 0; count < examinedDirectories && !isRoot(directory); ++count) {
        if (QFileInfo::exists(directory + scriptsFolder + installerName))
            return directory;
        directory = parentOf(directory);
    }
    return std::nullopt;
}

QString scriptIn(const QString& directory, QLatin1StringView name) {
    const QString direct = directory + name;
    return QFileInfo::exists(direct) ? direct : directory + scriptsFolder + name;
}

/// The text, or an empty one when the bytes are not UTF-8.
QString decoded(const QByteArray& bytes) {
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

} // namespace

HookInstaller::Dependencies HookInstaller::Dependencies::ofProcess() {
    return {.home = QDir::homePath(),
            .resourceDirectory = pelorin::resourceDirectory(),
            .currentDirectory = QDir::currentPath(),
            .environment = processEnvironment()};
}

QString HookInstaller::scriptsDir(const Dependencies& dependencies) {
    if (dependencies.resourceDirectory && QFileInfo::exists(*dependencies.resourceDirectory + installerName))
        return *dependencies.resourceDirectory;
    if (const auto checkout = checkoutAround(dependencies.currentDirectory))
        return *checkout;
    if (const auto checkout =
            dependencies.programDirectory ? checkoutAround(*dependencies.programDirectory) : std::nullopt)
        return *checkout;
    return dependencies.currentDirectory;
}

QString HookInstaller::hooksDir(const Dependencies& dependencies) {
    return scriptsDir(dependencies) + QStringLiteral("/hooks");
}

QString HookInstaller::settingsPath(const Dependencies& dependencies) {
    const auto variable = dependencies.environment.find("CLAUDE_CONFIG_DIR");
    const std::string value =
        variable == dependencies.environment.end() ? std::string() : variable->second.toStdString();
    const std::string home = QFile::encodeName(dependencies.home).toStdString();
    return QFile::decodeName(claudeSettingsFile(claudeFolder(value, home)).c_str());
}

QString HookInstaller::installerPath(const Dependencies& dependencies) {
    return scriptIn(scriptsDir(dependencies), installerName);
}

QString HookInstaller::uninstallerPath(const Dependencies& dependencies) {
    return scriptIn(scriptsDir(dependencies), uninstallerName);
}

bool HookInstaller::isInstalled(const Dependencies& dependencies) {
    QFile file(settingsPath(dependencies));
    // What is no ordinary file may never end, and opening it may wait for ever.
    if (!QFileInfo(file).isFile() || file.size() > settingsSizeLimit || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.readAll();
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (!document.isObject() || !document.object().contains(QLatin1StringView("hooks")))
        return false;
    return std::any_of(hookScripts.begin(), hookScripts.end(),
                       [&](QByteArrayView name) { return text.contains("/hooks/" + name.toByteArray()); });
}

std::optional<QString> HookInstaller::install(const Dependencies& dependencies) {
    Environment environment = dependencies.environment;
    environment["REPO"] = QFile::encodeName(scriptsDir(dependencies));
    return run(installerPath(dependencies), QStringLiteral("installer"), environment, dependencies.shell);
}

std::optional<QString> HookInstaller::uninstall(const Dependencies& dependencies) {
    return run(uninstallerPath(dependencies), QStringLiteral("uninstaller"), dependencies.environment,
               dependencies.shell);
}

std::optional<QString> HookInstaller::run(const QString& path, const QString& name, const Environment& environment,
                                          const QString& shell) {
    if (!QFileInfo::exists(path))
        return QStringLiteral("Couldn't find the %1 in the app bundle.").arg(name);
    const auto outcome = runScript(QFile::encodeName(shell), {QFile::encodeName(path)}, environment);
    if (!outcome)
        return outcome.error();
    if (outcome->status == 0)
        return std::nullopt;
    const QString output = decoded(outcome->output);
    if (output.isEmpty())
        return QStringLiteral("The %1 exited with code %2.").arg(name).arg(outcome->status);
    return output.trimmed();
}

} // namespace pelorin
