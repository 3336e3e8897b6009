"""A file that is not a complete, consistent WAV is refused with a reason."""

from __future__ import annotations

import struct
import unittest

from support import EMPTY, SILENCE, BackendTestCase, wav


def patched(offset: int, layout: str, value: int) -> bytes:
    data = bytearray(SILENCE)
    struct.pack_into(layout, data, offset, value)
    return bytes(data)


class WavTest(BackendTestCase):
    def test_plain_encodings_are_accepted(self) -> None:
        self.backend.set_transcript("heard")
        rows = {
            "mono 16 bit": wav(bytes(32)),
            "stereo 16 bit 44.1 kHz": wav(bytes(32), channels=2, rate=44_100),
            "8 bit 8 kHz": wav(bytes(32), bits=8, rate=8000),
            "24 bit": wav(bytes(48), bits=24),
            "float stereo 48 kHz": wav(bytes(64), code=3, channels=2, rate=48_000, bits=32),
            "odd chunk before the data": with_chunk(SILENCE, b"LIST\x03\0\0\0abc\0"),
        }
        for name, audio in rows.items():
            with self.subTest(name):
                self.assertEqual(self.backend.transcribe(audio).json(), {"text": "heard"})

    def test_header_alone_is_an_empty_text(self) -> None:
        # The fixed transcript would show that a recogniser had been asked.
        self.backend.set_transcript("heard")
        answer = self.backend.transcribe(EMPTY)
        self.assertEqual((answer.status, answer.json()), (200, {"text": ""}))

    def test_other_files_are_refused(self) -> None:
        rows = {
            "text": b"this is no recording at all, just a sentence of some length",
            "RIFF of another kind": SILENCE[:8] + b"AVI " + SILENCE[12:],
            "big endian": b"RIFX" + SILENCE[4:],
            "no chunks": b"RIFF\x04\0\0\0WAVE",
            "data before the format": b"RIFF" + struct.pack("<I", 12) + b"WAVEdata\0\0\0\0",
            "truncated data": SILENCE[:-1],
            "RIFF larger than the file": patched(4, "<I", 100_000),
            "data larger than the file": patched(40, "<I", 100_000),
            "short format": patched(16, "<I", 14),
            "compressed": patched(20, "<H", 7),
            "no channels": patched(22, "<H", 0),
            "three channels": wav(bytes(60), channels=3),
            "zero rate": wav(bytes(32), rate=0),
            "huge rate": wav(bytes(32), rate=1_000_000),
            "byte rate contradicts": patched(28, "<I", 1),
            "block size contradicts": patched(32, "<H", 4),
            "12 bit": patched(34, "<H", 12),
            "16 bit float": patched(20, "<H", 3),
            "half a sample": wav(bytes(33)),
        }
        for name, audio in rows.items():
            with self.subTest(name):
                answer = self.backend.transcribe(audio)
                self.assertEqual(answer.status, 415)
                self.assertIn("WAV", answer.message)

    def test_every_truncation_of_the_header_is_refused(self) -> None:
        for length in range(44):
            with self.subTest(length=length):
                self.assertEqual(self.backend.transcribe(EMPTY[:length]).status, 415)


def with_chunk(audio: bytes, chunk: bytes) -> bytes:
    size = struct.pack("<I", len(audio) + len(chunk) - 8)
    return audio[:4] + size + audio[8:36] + chunk + audio[36:]


if __name__ == "__main__":
    unittest.main()
