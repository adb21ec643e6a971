#include "web/pages.h"

#include <algorithm>

namespace web {

bool answerWithPage(std::span<const Page> pages, const Request& request, Exchange& exchange)
{
    const auto page =
        std::find_if(pages.begin(), pages.end(), [&](const Page& each) { return each.path == request.path; });
    if (page == pages.end())
        return false;
    if (request.method == "GET")
        exchange.answer({200, std::string(page->text), std::string(page->type)});
    else
        exchange.answer({405, "{\"why\":\"only GET\"}\n", "application/json", "GET"});
    return true;
}

} // namespace web
