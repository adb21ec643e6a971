// A language file, and a lookup of every kind of key.
#include "fuzz/library.h"

#include "diag/language.h"
#include "simulation/virtual_system.h"
#include "text/compose.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::begin(fuzz::Log::Silent);
    const std::string content(fuzz::Bytes(data, size).rest());
    simulation::virtualSystem().files["./tllang.ini"] = content;
    for (const char* const key : {"Done", "Tellarion is busy", "Low", "Warning Code 7", ""})
        fuzz::require(TLLangSupport::lookupText(key) == key || content.find('=') != std::string::npos);
    translationOr(compose("Error Code ", size), "otherwise");

    CIniFile file("./tllang.ini");
    const bool hasSections = file.ReadFile();
    const std::string name = content.substr(0, content.find('\n'));
    fuzz::require(hasSections || file.FindSection(name) == -1 || !content.empty());
    file.GetValueI("Lang", name, -1);
    file.GetValueF("Lang", name, 0.5);
    file.SetValue(name, "key", content, true);
    fuzz::require(file.GetValue(name, "KEY", "") == content);
    return 0;
}
