#include "tools/statuses.h"

#include "tools/log_line.h"

#include <algorithm>
#include <array>

namespace tllog {

namespace {

std::vector<StatusMeaning> readTable()
{
    std::vector<StatusMeaning> table;
    std::string_view text = STATUSES_TEXT;
    bool header = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        std::array<std::string_view, 8> fields{};
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const std::size_t tab =
                i + 1 == fields.size() ? line.size() : std::min(line.find('\t'), line.size());
            fields[i] = line.substr(0, tab);
            line.remove_prefix(std::min(tab + 1, line.size()));
        }
        if (!header && !fields[0].empty())
            table.push_back({fields[0], static_cast<int>(leadingNumber(fields[1])), fields[2], fields[3],
                             fields[4], fields[5], fields[6], fields[7]});
        header = false;
    }
    return table;
}

} // namespace

const std::vector<StatusMeaning>& statusMeanings()
{
    static const std::vector<StatusMeaning> TABLE = readTable();
    return TABLE;
}

const StatusMeaning* findMeaning(std::string_view call, int status)
{
    for (const StatusMeaning& meaning : statusMeanings())
        if (meaning.call == call && meaning.status == status)
            return &meaning;
    return nullptr;
}

} // namespace tllog
