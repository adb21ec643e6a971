#include "diag/language.h"

#include "platform/file_reading.h"
#include "platform/files.h"
#include "text/compose.h"

namespace {

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
    }
    return *g_pLangFile;
}

} // namespace

std::string TLLangSupport::lookupText(const std::string& key)
{
    const std::string translation = languageFile().GetValue("Lang", key, "");
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
