#pragma once

/// The file that the cookie is to be read from; null for the one that libpulse finds. Where there is none,
/// libpulse would create it in the user's home folder: then a stand-in.
const char *pulseCookie();

/// The server to connect to; null for the one that libpulse finds. Without a runtime folder libpulse would
/// make one below the home folder only to look for a server there: then only the system's own is asked for.
const char *pulseServer();
