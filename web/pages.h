// The files of a page, which a program has inside it.
#pragma once

#include "web/server.h"

#include <span>

namespace web {

struct Page {
    std::string_view path;
    std::string_view type;
    std::string_view text;
};

/// Answers for one of the pages; false if none has this path.
bool answerWithPage(std::span<const Page> pages, const Request& request, Exchange& exchange);

} // namespace web
