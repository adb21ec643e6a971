#include "simulator/fault_text.h"

#include "simulator/object_reader.h"
#include "simulator/opening_codes.h"

#include <limits>

namespace simulator {

namespace {

std::vector<std::string> namesOfFaults()
{
    std::vector<std::string> names;
    for (const FaultName name : faultNames())
        names.emplace_back(textOf(name));
    return names;
}

bool isError(FaultName name)
{
    return errorCodeOf(name) != 0;
}

/// A number of pieces, or a text like "2 pieces".
int parsePieces(ObjectReader& reader, const json& value)
{
    std::optional<int> pieces;
    if (value.is_number_integer() && value >= 1 && value <= 1'000'000)
        pieces = value.get<int>();
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        const std::size_t space = text.find(' ');
        const std::string unit = space == std::string::npos ? "pieces" : text.substr(space + 1);
        if (unit == "piece" || unit == "pieces")
            pieces = parseNumber(text.substr(0, space));
    }
    if (!pieces || *pieces < 1)
        reader.fail("after", "must be a number of pieces like 2 or \"2 pieces\"");
    return *pieces;
}

void parseStart(ObjectReader& reader, Fault& fault)
{
    if (const json* letter = reader.find("command")) {
        const std::string text = letter->is_string() ? letter->get<std::string>() : "?";
        const bool any = text.empty() || text == "any";
        if (!any && (text.size() != 1 || text[0] < 'a' || text[0] > 'z'))
            reader.fail("command", "must be the lower-case letter of a command, or \"any\"");
        fault.start = Fault::Start::AtCommand;
        fault.letter = any ? '\0' : text[0];
    }
    if (const json* after = reader.find("after")) {
        fault.start = Fault::Start::AfterPieces;
        fault.pieces = parsePieces(reader, *after);
    }
    if (const json* chance = reader.find("chance")) {
        if (!chance->is_number() || *chance <= 0 || *chance > 1)
            reader.fail("chance", "must be a number above 0, at most 1");
        fault.start = Fault::Start::ByChance;
        fault.chance = std::max(1, static_cast<int>(chance->get<double>() * 1'000'000));
    }
    if (int(reader.has("command")) + int(reader.has("after")) + int(reader.has("chance")) > 1)
        reader.fail("name", "has more than one beginning; take \"command\", \"after\" or \"chance\"");
    reader.read("seed", fault.random, 0, std::numeric_limits<std::int32_t>::max());
}

void parseEnd(ObjectReader& reader, Fault& fault)
{
    if (reader.has("for")) {
        Milliseconds lasts = 0;
        reader.readTime("for", lasts);
        fault.lasts = lasts;
    }
    std::string until = fault.untilReset ? "reset" : "repair";
    reader.read("until", until, 6);
    if (until != "repair" && until != "reset")
        reader.fail("until", "must be \"repair\" or \"reset\"");
    fault.untilReset = until == "reset";
    if (fault.untilReset && !isError(fault.name))
        reader.fail("until", "can't be \"reset\": a reset does not end this one");
    if (!strikesSingly(fault.name) && reader.has("times"))
        reader.fail("times", "is for faults of single answers, messages or notes");
    // A chance is one of striking once, unless it says otherwise.
    const bool endless = fault.start != Fault::Start::ByChance || fault.lasts || !strikesSingly(fault.name);
    fault.times = endless ? 0 : 1;
    reader.read("times", fault.times, 1, 1'000'000);
}

void parseDetails(ObjectReader& reader, Fault& fault)
{
    if (fault.name == FaultName::DeviceError)
        reader.read("code", fault.code, 1, 99);
    if (fault.name == FaultName::OpenRefused)
        reader.read("code", fault.code, 1, std::numeric_limits<std::int16_t>::max());
    if (fault.name == FaultName::AnswerLate || fault.name == FaultName::MessageLate)
        reader.readTime("by", fault.lateness);
    if (fault.name == FaultName::Slow)
        reader.read("factor", fault.factor, 2, 100);
}

std::string beginning(const Fault& fault)
{
    switch (fault.start) {
    case Fault::Start::AtCommand:
        return fault.letter == '\0' ? "at the next command"
                                    : std::string("at the next command ") + fault.letter;
    case Fault::Start::AfterPieces:
        return "after " + std::to_string(fault.pieces) + (fault.pieces == 1 ? " piece" : " pieces");
    case Fault::Start::ByChance:
        return "by chance, " + moneyText(fault.chance, 4) + " %";
    default:
        return "now";
    }
}

std::string end(const Fault& fault, Milliseconds now)
{
    if (fault.awaitsReset)
        return "the device's reset";
    if (fault.name == FaultName::DeviceError)
        return "the device's reset or repair";
    std::string text = "repair";
    if (fault.lasts)
        text = fault.on ? "in " + durationText(std::max<Milliseconds>(0, fault.endsAt - now))
                        : "after " + durationText(*fault.lasts);
    else if (fault.times > 0)
        text = "after " + std::to_string(fault.times - fault.strikes) +
               (fault.times - fault.strikes == 1 ? " time" : " times");
    else if (fault.name == FaultName::PowerCut)
        text = "power on or repair";
    return text + (fault.untilReset ? ", then the device's reset" : "");
}

} // namespace

Fault parseFault(const json& object)
{
    ObjectReader reader(object, "fault");
    std::string text;
    reader.read("name", text, 100);
    const auto name = faultNamed(text);
    if (!name) {
        const std::string nearest = nearestName(text, namesOfFaults());
        reader.fail("name", text.empty()      ? "is missing"
                            : nearest.empty() ? "is no fault: " + text
                                              : "is no fault: " + text + "; did you mean " + nearest + "?");
    }
    Fault fault{*name};
    fault.code = *name == FaultName::OpenRefused ? OpeningCode::REFUSED : errorCodeOf(*name);
    fault.lateness = *name == FaultName::AnswerLate || *name == FaultName::MessageLate ? 2000 : 0;
    fault.factor = *name == FaultName::Slow ? 10 : 0;
    fault.untilReset = *name == FaultName::DeviceError && !reader.has("for");
    parseStart(reader, fault);
    parseEnd(reader, fault);
    parseDetails(reader, fault);
    reader.refuseUnknown();
    return fault;
}

json describeFault(const Fault& fault, Milliseconds now)
{
    json object{{"name", textOf(fault.name)}, {"on", fault.on}, {"ends", end(fault, now)}};
    if (!fault.on)
        object["begins"] = beginning(fault);
    if (errorCodeOf(fault.name) != 0)
        object["code"] = fault.code;
    return object;
}

} // namespace simulator
