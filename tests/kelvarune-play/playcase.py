"""What the tests of kelvarune-play share beside the harness of the black-box tests."""

import os
import signal

from harness import ReplayCase

STOP_SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


def take_signals():
    """For preexec_fn: whoever runs the tests may ignore some signals, and that is inherited."""
    for number in STOP_SIGNALS:
        signal.signal(number, signal.SIG_DFL)


class PlayCase(ReplayCase):
    def setUp(self):
        super().setUp()
        self.write("comp.pog", "<Proof_Obligations/>")

    def files(self):
        """Everything of the scratch directory but what the runner itself writes."""
        found = {}
        for folder, _, names in os.walk(self.root):
            found[folder] = None
            for name in names:
                path = os.path.join(folder, name)
                if path not in (f"{self.root}/stdout", f"{self.root}/stderr"):
                    status = os.stat(path)
                    with open(path, "rb") as file:
                        found[path] = (file.read(), status.st_ino, status.st_mtime_ns)
        return found
