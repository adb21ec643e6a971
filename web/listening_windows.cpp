#include "web/listening.h"

namespace web {

bool portsStayTaken()
{
    return false;
}

} // namespace web
