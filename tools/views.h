// The ways to look at a story.
#pragma once

#include "tools/options.h"
#include "tools/printer.h"
#include "tools/story.h"

#include <memory>

namespace tllog {

/// Gets everything in order: sales that ended and notices before the line that told of them.
class View {
public:
    virtual ~View() = default;
    virtual void sale(const Sale& sale) = 0;
    virtual void notice(const Notice& notice) = 0;
    virtual void line(const Entry& entry, const Told& told) = 0;
    virtual void finish() = 0;
    /// Of the program; 1 if something needs a look.
    virtual int exitStatus() const { return 0; }
};

std::unique_ptr<View> makeTimeline(const Options& options, Printer& printer);
std::unique_ptr<View> makeSalesView(const Options& options, Printer& printer);
std::unique_ptr<View> makeErrorsView(const Options& options, Printer& printer);

/// "sale SALE-1: due 63.00, paid in 75.00, ..."
std::string saleInWords(const Sale& sale);
std::string saleJson(const Sale& sale);
void printNoticeJson(const Notice& notice, Printer& printer);

Tone toneOf(const Entry& entry);

} // namespace tllog
