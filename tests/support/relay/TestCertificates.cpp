#include "tests/support/relay/TestCertificates.h"

#include <QFile>
#include <QStringList>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace pelorin {

namespace {

/// Not the toolkit's process: that forks, which a sanitizer of threads does not survive among several of them.
bool openssl(const QStringList& arguments) {
    std::vector<QByteArray> texts{"openssl"};
    for (const QString& argument : arguments)
        texts.push_back(argument.toLocal8Bit());
    std::vector<char*> pointers;
    for (QByteArray& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t silence;
    posix_spawn_file_actions_init(&silence);
    posix_spawn_file_actions_addopen(&silence, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&silence, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int error = posix_spawnp(&process, "openssl", &silence, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&silence);
    int status = 0;
    return error == 0 && waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool write(const QString& path, const QByteArray& contents) {
    QFile file(path);
    return file.open(QFile::WriteOnly) && file.write(contents) == contents.size();
}

} // namespace

std::optional<TestCertificates> TestCertificates::make(const QString& folder, Server server) {
    const TestCertificates files{folder + "/authority.pem", folder + "/server.pem", folder + "/server.key"};
    const QString authorityKey = folder + "/authority.key";
    const QString request = folder + "/server.csr";
    const QString extensions = folder + "/server.ext";
    const bool isForOther = server == Server::anotherName;
    const QByteArray names = isForOther ? "DNS:another.example" : "IP:127.0.0.1,DNS:localhost";
    const QStringList newKey{"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};
    const auto signFor = [&](const QStringList& validity) {
        return openssl(QStringList{"x509", "-req", "-in", request, "-CA", files.authority, "-CAkey", authorityKey,
                                   "-CAcreateserial", "-extfile", extensions, "-out", files.certificate} +
                       validity);
    };
    // Days count from now. Versions that don't count them backwards take dates.
    const auto sign = [&] {
        return server == Server::expired
                   ? signFor({"-days", "-1"}) ||
                         signFor({"-not_before", "20200101000000Z", "-not_after", "20200102000000Z"})
                   : signFor({"-days", "1"});
    };
    const bool isMade =
        write(extensions, "basicConstraints=CA:FALSE\nsubjectAltName=" + names + "\n") &&
        openssl(QStringList{"req", "-x509"} + newKey +
                QStringList{"-keyout", authorityKey, "-out", files.authority, "-days", "2", "-subj",
                            "/CN=Pelorin test authority", "-addext", "keyUsage=critical,keyCertSign"}) &&
        openssl(QStringList{"req"} + newKey +
                QStringList{"-keyout", files.key, "-out", request, "-subj", "/CN=Pelorin test relay"}) &&
        sign();
    return isMade ? std::optional(files) : std::nullopt;
}

} // namespace pelorin
