#include "bench/Program.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace pelorin::bench {

Program::Program(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
    std::string folder = (std::filesystem::temp_directory_path() / "pelorin-bench-XXXXXX").string();
    if (!mkdtemp(folder.data()))
        std::abort();
    m_home = folder;
    std::vector<std::string> variables = environment;
    variables.push_back("HOME=" + m_home);
    variables.push_back("XDG_RUNTIME_DIR=" + m_home);
    variables.push_back(std::string("PATH=") + std::getenv("PATH"));
    // Nobody answers there: what would go to another machine stays on this one.
    variables.emplace_back("all_proxy=http://127.0.0.1:9");
    variables.emplace_back("https_proxy=http://127.0.0.1:9");
    const auto pointers = [](const std::vector<std::string>& strings) {
        std::vector<char*> list;
        for (const std::string& string : strings)
            list.push_back(const_cast<char*>(string.c_str()));
        list.push_back(nullptr);
        return list;
    };
    if (posix_spawn(&m_process, arguments[0].c_str(), nullptr, nullptr, pointers(arguments).data(),
                    pointers(variables).data()) != 0) {
        std::fprintf(stderr, "%s does not start; build it first.\n", arguments[0].c_str());
        std::exit(1);
    }
}

Program::~Program() {
    kill(m_process, SIGTERM);
    waitpid(m_process, nullptr, 0);
    std::error_code ignored;
    std::filesystem::remove_all(m_home, ignored);
}

long Program::residentBytes() const {
    std::ifstream statm("/proc/" + std::to_string(m_process) + "/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

long Program::openDescriptors() const {
    return std::distance(std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/fd"),
                         std::filesystem::directory_iterator());
}

long Program::sleeps() const {
    const std::string key = "voluntary_ctxt_switches:";
    long all = 0;
    std::error_code ignored;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/task", ignored)) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(key))
                all += std::stol(line.substr(key.size()));
        }
    }
    return all;
}

long Program::processorTicks() const {
    std::ifstream stat("/proc/" + std::to_string(m_process) + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 0; field < 11; ++field)
        fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return user + system;
}

} // namespace pelorin::bench
