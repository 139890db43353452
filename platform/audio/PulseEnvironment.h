#pragma once

/// Keeps libpulse from creating a cookie in the user's home folder where there is none. Changes the
/// environment of this process where that has to; called before every connection.
void preparePulseEnvironment();

/// The server to connect to; null for the one that libpulse finds. Without a runtime folder libpulse would
/// make one below the home folder only to look for a server there: then only the system's own is asked for.
const char *pulseServer();
