#include "BeaconrySetup/LoginEntry.h"

namespace pelorin::setup {

namespace {

/// An argument of a desktop entry's command: quoted once for the command, and then once more as a text of the file.
std::string desktopArgument(std::string_view text) {
    std::string quoted = "\"";
    for (const char byte : text) {
        switch (byte) {
        case '"':
        case '`':
        case '$':
            quoted += "\\\\";
            quoted += byte;
            break;
        case '\\':
            quoted += "\\\\\\\\";
            break;
        case '%':
            quoted += "%%";
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        default:
            quoted += byte;
        }
    }
    return quoted + '"';
}

std::string xmlText(std::string_view text) {
    std::string escaped;
    for (const char byte : text) {
        switch (byte) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += byte;
        }
    }
    return escaped;
}

} // namespace

std::string autostartText(std::string_view program) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Pelorin\n"
           "Comment=Shows what AI coding sessions wait for\n"
           "Exec=" +
           desktopArgument(program) +
           "\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::string launchAgentText(std::string_view program) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n"
           "<dict>\n"
           "    <key>Label</key>\n"
           "    <string>com.pelorin.manager</string>\n"
           "    <key>ProgramArguments</key>\n"
           "    <array>\n"
           "        <string>" +
           xmlText(program) +
           "</string>\n"
           "    </array>\n"
           "    <key>RunAtLoad</key>\n"
           "    <true/>\n"
           "</dict>\n"
           "</plist>\n";
}

} // namespace pelorin::setup
