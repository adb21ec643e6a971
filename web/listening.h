// What differs between systems when a program listens.
#pragma once

namespace web {

/// Whether a port stays taken for a while after its program ended, unless it is asked for with reuse. Where
/// it doesn't, reuse would let two programs listen on one port.
bool portsStayTaken();

} // namespace web
