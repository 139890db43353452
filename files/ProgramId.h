#pragma once

/// The program's name to desktops: of its desktop entry, its icon, and what the sound server shows of it.
inline constexpr char ProgramId[] = "org.lumaverdine.Lumaverdine";
