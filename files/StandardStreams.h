#pragma once

class QString;

/// For the start of main(). What is written to a pipe whose reader is gone is lost and does not end the program. Each of
/// standard input, output and error that the program was started without becomes /dev/null: a connection or a file would
/// get its number otherwise, and what is printed would go there. The toolkit's diagnostics go to standard error as lines
/// do to standard output.
void guardStandardStreams();

/// Writes one line on standard output, with a line break behind it. Never waits and never fails: a line for which there
/// is no room, no reader or no output at all is lost. What is longer than a pipe takes at once (4,096 bytes) may be cut.
/// Any thread.
void printLine(const QString &line);
