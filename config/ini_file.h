// Reader of the language file: sections, "key=value" lines, comments.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

/// Names are found without regard to case and kept as written. Of two sections of one name the first is
/// found, of two keys of one name the later value stands.
class CIniFile {
public:
    /// Stores the path; reads nothing.
    explicit CIniFile(std::string path);
    virtual ~CIniFile() = default;

    /// True if at least one section exists at the end. A line that begins with a byte that isn't
    /// printable ends the read; what was read so far stays.
    bool ReadFile();

    const std::string& Path() const { return m_sPath; }

    std::string GetValue(const std::string& section, const std::string& key,
                         const std::string& defaultValue) const;
    std::int32_t GetValueI(const std::string& section, const std::string& key,
                           std::int32_t defaultValue) const;
    double GetValueF(const std::string& section, const std::string& key, double defaultValue) const;

    /// An index, or -1.
    std::int32_t FindSection(const std::string& name) const;
    std::int32_t FindValue(std::int32_t sectionIndex, const std::string& keyName) const;

    std::int32_t AddSection(const std::string& name);
    /// False if the section or the key is not there and "create" is false.
    bool SetValue(const std::string& section, const std::string& key, const std::string& value, bool create);
    void AddHeaderComment(const std::string& text);
    void AddSectionComment(const std::string& section, const std::string& text);

private:
    using Index = std::unordered_map<std::string, std::int32_t>; // first place of a folded name

    struct Section {
        std::vector<std::string> keyNames;
        std::vector<std::string> values; // by the index of the key's name
        std::vector<std::string> comments;
        std::unique_ptr<Index> keyIndex; // made with the first key
    };

    std::string folded(const std::string& name) const;
    void readLine(const std::string& line, std::string& currentSection);

    bool m_bCaseInsensitive = true;
    std::string m_sPath;
    std::vector<Section> m_sections;
    std::vector<std::string> m_sectionNames; // by the index of the section
    std::vector<std::string> m_headerComments;
    Index m_sectionIndex;
};
