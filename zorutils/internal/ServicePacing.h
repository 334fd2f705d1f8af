// The pace of requests to the music service from the whole process: at most
// one a second, whatever the number of lookups, and a pause for everyone when
// the service asks for one. Waits poll every 50 ms at most, so that a
// cancelled search or a lookup being destroyed never waits on them.
#pragma once

#include <windows.h>

namespace zor {

/// Asked while waiting: true ends the wait.
typedef bool (*StopWaitingProc)(void* user);

/// Waits until the process may send its next request, then takes the turn:
/// true with the turn's number in `turn`. False, without a turn, as soon as
/// `stop` answers true (it is asked before every pause).
bool TakeServiceTurn(StopWaitingProc stop, void* user, unsigned* turn);

/// The request of `turn` has certainly reached the service (its reply began,
/// or it ended): when no later turn was taken, the next one waits a full
/// interval from now, so that requests are apart at the service too and not
/// only where they leave.
void ServiceRequestArrived(unsigned turn);

/// The service asked for a pause of `seconds`: no turn before then.
void HoldServiceRequests(unsigned long seconds);

}  // namespace zor
