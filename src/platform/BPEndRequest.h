// Requests from outside that this process end: a user's kill, a closed terminal, a session that is left.
//
// A request is a signal. It interrupts nothing: it sets a mark that waits look at, and wakes whoever watches the
// descriptor, so that the end comes in order, from the main thread. One that comes more than 5 seconds after the first
// finds a process that hangs, and ends it as signals do.
#pragma once

/// Takes SIGTERM, SIGINT and SIGHUP as requests from now on; one that is ignored when this is called stays ignored, as
/// under nohup. Returns a descriptor that is readable from the first request on and is never read or closed by anybody,
/// or -1 when there is none to be had: nobody could watch for a request then, and signals end the process as ever.
/// A second call changes nothing.   Thread: main.
int BPCatchEndRequests();

/// Whether there has been a request; stays true.   Thread: any.
bool BPEndIsRequested();
