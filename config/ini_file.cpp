#include "config/ini_file.h"

#include "platform/file_reading.h"
#include "text/ascii.h"
#include "text/numbers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

CIniFile::CIniFile(std::string path) : m_sPath(std::move(path)) {}

bool CIniFile::ReadFile()
{
    const std::optional<std::string> text = platform::readFile(m_sPath);
    if (!text)
        return false;
    std::string currentSection;
    std::string_view rest = *text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        std::string line(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (line.ends_with('\r'))
            line.pop_back();
        if (line.empty())
            continue;
        if (!isPrintable(line.front())) {
            std::printf("Failing on char %d\n", static_cast<int>(static_cast<unsigned char>(line.front())));
            return false;
        }
        readLine(line, currentSection);
    }
    return !m_sections.empty();
}

void CIniFile::readLine(const std::string& line, std::string& currentSection)
{
    const std::size_t at = line.find_first_of(";#[=");
    if (at == std::string::npos)
        return;
    if (line[at] == '=') {
        SetValue(currentSection, line.substr(0, at), line.substr(at + 1), true);
    } else if (line[at] == '[') {
        const std::size_t end = line.rfind(']');
        if (end == std::string::npos || end < at)
            return;
        currentSection = line.substr(at + 1, end - at - 1);
        AddSection(currentSection);
    } else if (m_sections.empty()) {
        AddHeaderComment(line.substr(at + 1));
    } else {
        AddSectionComment(currentSection, line.substr(at + 1));
    }
}

std::string CIniFile::GetValue(const std::string& section, const std::string& key,
                               const std::string& defaultValue) const
{
    const std::int32_t sectionIndex = FindSection(section);
    const std::int32_t valueIndex = FindValue(sectionIndex, key);
    if (valueIndex < 0)
        return defaultValue;
    return m_sections[static_cast<std::size_t>(sectionIndex)].values[static_cast<std::size_t>(valueIndex)];
}

std::int32_t CIniFile::GetValueI(const std::string& section, const std::string& key,
                                 std::int32_t defaultValue) const
{
    return leadingNumber(GetValue(section, key, std::to_string(defaultValue)));
}

double CIniFile::GetValueF(const std::string& section, const std::string& key, double defaultValue) const
{
    return std::atof(GetValue(section, key, std::to_string(defaultValue)).c_str());
}

std::int32_t CIniFile::FindSection(const std::string& name) const
{
    const auto found = m_sectionIndex.find(folded(name));
    return found == m_sectionIndex.end() ? -1 : found->second;
}

std::int32_t CIniFile::FindValue(std::int32_t sectionIndex, const std::string& keyName) const
{
    if (sectionIndex < 0 || static_cast<std::size_t>(sectionIndex) >= m_sections.size())
        return -1;
    const Section& section = m_sections[static_cast<std::size_t>(sectionIndex)];
    if (section.keyIndex == nullptr)
        return -1;
    const auto found = section.keyIndex->find(folded(keyName));
    return found == section.keyIndex->end() ? -1 : found->second;
}

std::int32_t CIniFile::AddSection(const std::string& name)
{
    const auto index = static_cast<std::int32_t>(m_sections.size());
    m_sections.emplace_back();
    m_sectionNames.push_back(name);
    m_sectionIndex.try_emplace(folded(name), index);
    return index;
}

bool CIniFile::SetValue(const std::string& section, const std::string& key, const std::string& value,
                        bool create)
{
    std::int32_t sectionIndex = FindSection(section);
    if (sectionIndex < 0) {
        if (!create)
            return false;
        sectionIndex = AddSection(section);
    }
    Section& record = m_sections[static_cast<std::size_t>(sectionIndex)];
    if (const std::int32_t valueIndex = FindValue(sectionIndex, key); valueIndex >= 0) {
        record.values[static_cast<std::size_t>(valueIndex)] = value;
        return true;
    }
    if (!create)
        return false;
    if (record.keyIndex == nullptr)
        record.keyIndex = std::make_unique<Index>();
    record.keyIndex->try_emplace(folded(key), static_cast<std::int32_t>(record.keyNames.size()));
    record.keyNames.push_back(key);
    record.values.push_back(value);
    return true;
}

void CIniFile::AddHeaderComment(const std::string& text)
{
    m_headerComments.push_back(text);
}

void CIniFile::AddSectionComment(const std::string& section, const std::string& text)
{
    if (const std::int32_t index = FindSection(section); index >= 0)
        m_sections[static_cast<std::size_t>(index)].comments.push_back(text);
}

std::string CIniFile::folded(const std::string& name) const
{
    std::string copy = name;
    if (m_bCaseInsensitive)
        std::transform(copy.begin(), copy.end(), copy.begin(), lowerCase);
    return copy;
}
