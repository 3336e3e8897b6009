"""What strangers can do to the toggle channel: nothing."""

import random
import socket
import unittest
from contextlib import ExitStack

from harness.log import without_start
from harness.tarq import exchange
from harness.testcase import TarqTestCase
from tests.system.support import let_handle_everything

CONNECTIONS = 1000


class ToggleChannelTest(TarqTestCase):
    def token(self) -> bytes:
        return (self.tarq.config / "ipc-token").read_bytes()

    def connect(self, sockets: ExitStack) -> socket.socket:
        client = sockets.enter_context(socket.socket(socket.AF_UNIX))
        # Returns once the server's queue has room.
        client.connect(str(self.tarq.socket))
        return client

    def check_idle_and_usable(self) -> None:
        """Fails unless nothing has been toggled, and a real toggle works."""
        let_handle_everything(self.tarq.socket)
        self.assertFalse(self.tarq.cache.exists())
        self.assertEqual(without_start(self.tarq.process.lines), [])
        self.start_recording()

    def test_hand_written_message_toggles(self):
        exchange(self.tarq.socket, b" " + self.token() + b":toggle\n")
        self.tarq.wait_recording()

    def test_messages_that_are_almost_right_do_nothing(self):
        token = self.token()
        other = token[:-1] + (b"0" if token[-1:] != b"0" else b"1")
        for message in (
            b":toggle",
            b"toggle",
            other + b":toggle",
            token.upper() + b":TOGGLE",
            token + b":TOGGLE",
            token + b":toggle:",
            token + b"::toggle",
            token + b":",
            token + b" toggle",
            token[:-1] + b":toggle",
            token + b"\0:toggle",
            token + b":toggle\0",
            token + b":toggle\n" + token + b":toggle",
        ):
            exchange(self.tarq.socket, message)
        self.check_idle_and_usable()

    def test_random_bytes_do_nothing(self):
        noise = random.Random(1)
        for _ in range(200):
            exchange(self.tarq.socket, noise.randbytes(noise.randint(1, 4096)))
        self.check_idle_and_usable()

    def test_megabytes_of_rubbish_do_nothing(self):
        with ExitStack() as sockets:
            client = self.connect(sockets)
            try:
                client.sendall(self.token() + 8_000_000 * b":")
            except (BrokenPipeError, ConnectionResetError):
                pass  # it has read enough
        self.check_idle_and_usable()

    def test_message_in_two_pieces_is_lost(self):
        with ExitStack() as sockets:
            client = self.connect(sockets)
            client.sendall(self.token() + b":tog")
            self.assertEqual(client.recv(1), b"")  # the first piece has been read
            with self.assertRaises(BrokenPipeError):
                client.sendall(b"gle")
        self.check_idle_and_usable()

    def test_thousand_silent_connections_block_nobody(self):
        with ExitStack() as sockets:
            for _ in range(CONNECTIONS):
                self.connect(sockets)
            self.check_idle_and_usable()

    def test_thousand_connections_that_hang_up_leave_nothing_behind(self):
        for _ in range(CONNECTIONS):
            with ExitStack() as sockets:
                self.connect(sockets)
        self.check_idle_and_usable()

    def test_token_of_an_earlier_run_is_refused(self):
        old = self.token()
        self.tarq.stop()
        self.start_tarq()
        exchange(self.tarq.socket, old + b":toggle")
        self.check_idle_and_usable()


if __name__ == "__main__":
    unittest.main()
