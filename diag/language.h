// Translation of the texts that reach the application. The English text is the key.
#pragma once

#include "config/ini_file.h"
#include "diag/language_keys.h"

#include <memory>
#include <mutex>
#include <string>

/// The language file's text for a key, and the key itself where there is none. The file is read once, at
/// the first call. Any thread.
std::string lookupText(LanguageKey key);

/// The language file's text for a key made at run time if it has one, else "otherwise".
std::string translationOr(const std::string& key, const std::string& otherwise);

class TLLangSupport {
public:
    explicit TLLangSupport(const std::string&) {}
    virtual ~TLLangSupport() = default;

    static std::string lookupText(const std::string& key);

    /// The path of the language file; empty if there is none or before the first lookup.
    static std::string getLangFilePath();
};

// Process-wide, see process_objects.cpp.
extern std::unique_ptr<CIniFile> g_pLangFile;
extern std::mutex g_langLock; // guards the making of it; once made it is only read
