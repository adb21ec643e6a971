#include "diag/language.h"

#include "platform/file_reading.h"
#include "platform/files.h"
#include "text/compose.h"

#include <atomic>

namespace {

constexpr const char* SECTION = "Lang";

// Known once the file was read: most tills have none, and then a lookup searches nothing.
constinit std::atomic<bool> nothingIsTranslated{false};

std::string findLanguageFile()
{
    const std::string file = compose(platform::pathSeparator(), "tllang.ini");
    if (const auto directory = platform::environmentVariable("TLCONFIG")) {
        if (platform::canRead(*directory + file))
            return *directory + file;
    }
    for (const std::string& path : {"." + file, platform::windowsDirectory() + file}) {
        if (platform::canRead(path))
            return path;
    }
    return "";
}

const CIniFile& languageFile()
{
    const std::lock_guard lock(g_langLock);
    if (g_pLangFile == nullptr) {
        g_pLangFile = std::make_unique<CIniFile>(findLanguageFile());
        g_pLangFile->ReadFile();
        nothingIsTranslated = g_pLangFile->FindSection(SECTION) < 0;
    }
    return *g_pLangFile;
}

} // namespace

std::string TLLangSupport::lookupText(const std::string& key)
{
    if (nothingIsTranslated)
        return key;
    const std::string translation = languageFile().GetValue(SECTION, key, "");
    return translation.empty() ? key : translation;
}

std::string TLLangSupport::getLangFilePath()
{
    const std::lock_guard lock(g_langLock);
    return g_pLangFile == nullptr ? "" : g_pLangFile->Path();
}

std::string lookupText(LanguageKey key)
{
    return TLLangSupport::lookupText(key.text());
}

std::string translationOr(const std::string& key, const std::string& otherwise)
{
    const std::string translation = TLLangSupport::lookupText(key);
    return translation == key ? otherwise : translation;
}
