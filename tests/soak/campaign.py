"""What the scripts of this folder share: options, the state that a second call goes on from, and OBS Studio to work on."""
import argparse
import json
import os
import random
import re
import signal
import sys

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "../.."))
sys.path.insert(0, os.path.join(ROOT, "tests/stock_obs"))


def end_at_interrupts():
    """SIGINT and SIGTERM end the program without a stack, by SIGINT, which the shell tells as 130."""
    def tell(kind, *rest):
        if not issubclass(kind, KeyboardInterrupt):
            sys.__excepthook__(kind, *rest)

    sys.excepthook = tell
    for number in signal.SIGINT, signal.SIGTERM:
        signal.signal(number, signal.default_int_handler)


class Campaign:
    """`counts` is kept from one call to the next, once saved."""

    def __init__(self, *options):
        """More options: pairs of a name and what it is without a word."""
        end_at_interrupts()
        parser = argparse.ArgumentParser()
        parser.add_argument("--seed", type=int, required=True)
        parser.add_argument("--state", required=True)
        parser.add_argument("--short", action="store_true")
        for name, default in options:
            parser.add_argument(f"--{name}", type=type(default), default=default)
        self.options = parser.parse_args()
        self.seed, self.short, self.state = self.options.seed, self.options.short, os.path.abspath(self.options.state)
        self.build = os.path.abspath(os.environ.get("VANTA_BUILD", os.path.join(ROOT, "build/linux-release")))
        self.findings = []
        self.counts = {}
        self.random = random.Random(self.seed)
        os.makedirs(self.state, exist_ok=True)
        self.file = os.path.join(self.state, "counts.json")
        if os.path.exists(self.file):
            with open(self.file) as file:
                self.counts = json.load(file)

    def save(self):
        with open(self.file + ".new", "w") as file:
            json.dump(self.counts, file)
        os.replace(self.file + ".new", self.file)

    def found(self, what):
        print("FOUND:", what, flush=True)
        self.findings.append(what)

    def end(self, figures):
        """Prints the last line. Ends the program."""
        print(figures, flush=True)
        sys.exit(1 if self.findings else 0)


def resident_kib(process):
    """Of a running program."""
    with open(f"/proc/{process.pid}/status") as file:
        return int(re.search(r"VmRSS:\s+(\d+)", file.read()).group(1))


def descriptors(process):
    return len(os.listdir(f"/proc/{process.pid}/fd"))


def threads(process):
    return len(os.listdir(f"/proc/{process.pid}/task"))


def slope(pairs):
    """Of the line through (x, y) pairs, by least squares; 0 with fewer than two."""
    count = len(pairs)
    if count < 2:
        return 0.0
    mean_x, mean_y = (sum(values) / count for values in zip(*pairs))
    spread = sum((x - mean_x) ** 2 for x, _ in pairs)
    return sum((x - mean_x) * (y - mean_y) for x, y in pairs) / spread if spread else 0.0
