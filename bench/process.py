"""What one process has cost, read from the system's files about it."""

import pathlib

MIB = 2**20


class Process:
    def __init__(self, pid):
        self._folder = pathlib.Path(f"/proc/{pid}")

    def threads(self):
        """Thread name, seconds of processor time, context switches; an entry for each thread alive."""
        for task in (self._folder / "task").iterdir():
            try:
                seconds = int((task / "schedstat").read_text().split()[0]) / 1e9
                status = (task / "status").read_text()
            except OSError:  # it ended meanwhile
                continue
            yield task.name, line(status, "Name"), seconds, sum(
                int(line(status, f"{kind}_ctxt_switches")) for kind in ("voluntary", "nonvoluntary"))

    def processor_seconds(self):
        return sum(seconds for _, _, seconds, _ in self.threads())

    def libraries(self):
        """How many are mapped."""
        rows = (self._folder / "maps").read_text().splitlines()
        return len({row.split()[-1] for row in rows if ".so" in row})

    def memory(self):
        """In MiB: its proportional share of memory; its resident memory; what of that is in no other process; what
        it has written and no file holds, the one number on which other processes have no bearing."""
        rollup = (self._folder / "smaps_rollup").read_text()
        kilobytes = lambda key: int(line(rollup, key).split()[0])
        private = kilobytes("Private_Clean") + kilobytes("Private_Dirty")
        return tuple(value * 1024 / MIB for value in (kilobytes("Pss"), kilobytes("Rss"), private, kilobytes("Anonymous")))


def line(text, key):
    """The value of "key: value" in a text of such lines."""
    return next(row.partition(":")[2].strip() for row in text.splitlines() if row.startswith(key + ":"))
