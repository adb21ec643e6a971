#include "web/listening.h"

namespace web {

bool portsStayTaken()
{
    return true;
}

} // namespace web
