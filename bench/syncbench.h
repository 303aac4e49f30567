#pragma once

// Runs the CalDAV figures (sync.initial, sync.nothing) over `events` events; the exit code.
int runSyncBench(int events);
