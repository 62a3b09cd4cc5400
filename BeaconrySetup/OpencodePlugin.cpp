#include "BeaconrySetup/OpencodePlugin.h"

#include "BeaconryBase/JsonText.h"

namespace pelorin::setup {

std::string opencodePluginText(std::string_view module) {
    std::string text(opencodePluginStart);
    text += " install-hooks.sh has written this file, and uninstall-hooks.sh removes it.\n"
            "import { pathToFileURL } from \"node:url\"\n"
            "\n"
            "export const Pelorin = async (context) => {\n"
            "  const module = pathToFileURL(";
    appendJsonString(text, module);
    text += ").href\n"
            "  const { Pelorin } = await import(module).catch(() => ({}))\n"
            "  return Pelorin ? Pelorin(context) : {}\n"
            "}\n";
    return text;
}

} // namespace pelorin::setup
