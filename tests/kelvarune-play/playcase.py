"""What the tests of kelvarune-play share beside the harness of the black-box tests."""

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
