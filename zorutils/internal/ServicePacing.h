// The pace of requests to the music service from the whole process: at most
// one a second, whatever the number of lookups, and a pause for everyone when
// the service asks for one. Waits poll every 50 ms at most, so that a
// cancelled search or a lookup being destroyed never waits on them.
#pragma once

#include <windows.h>

namespace zor {

/// Asked while waiting: true ends the wait.
typedef bool (*StopWaitingProc)(void* user);

/// Waits until the process may send its next request, then takes the turn
/// (true). False, without a turn, as soon as `stop` answers true (it is
/// asked before every pause).
bool TakeServiceTurn(StopWaitingProc stop, void* user);

/// A request has certainly reached the service (its reply began, or it
/// ended): the next one waits a full interval from now, so that requests are
/// apart where the service receives them and not only where they leave.
void ServiceRequestArrived();

/// The service asked for a pause of `seconds`: no turn before then.
void HoldServiceRequests(unsigned long seconds);

}  // namespace zor
