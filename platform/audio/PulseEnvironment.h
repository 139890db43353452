#pragma once

/// Keeps libpulse from creating anything in the user's home folder: a cookie or a runtime folder where there
/// is none. Changes the environment of this process; called once, before anything else of libpulse, on the
/// main thread.
void preparePulseEnvironment();
