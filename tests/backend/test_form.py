"""The form is parsed strictly, and its file byte for byte."""

from __future__ import annotations

import hashlib
import unittest

from support import (
    BOUNDARY,
    EMPTY,
    FORM_TYPE,
    BackendTestCase,
    closing,
    file_part,
    form,
    part,
    wav,
)

MODEL = part("model", b"m")


class FormTest(BackendTestCase):
    def test_form_of_the_client_is_accepted(self) -> None:
        for fields in ({}, {"language": "en"}):
            with self.subTest(fields):
                answer = self.backend.transcribe(EMPTY, **fields)
                self.assertEqual((answer.status, answer.json()), (200, {"text": ""}))

    def test_legal_variations_are_accepted(self) -> None:
        body = form(EMPTY)
        token_type = "multipart/form-data; boundary=simple"
        rows = {
            "preamble and epilogue": (FORM_TYPE, b"before\r\n" + body + b"after"),
            "no line end at the end": (FORM_TYPE, body[:-2]),
            "blanks after the boundary": (FORM_TYPE, body.replace(b"==\r\n", b"== \t\r\n")),
            "unquoted boundary": (token_type, body.replace(BOUNDARY.encode(), b"simple")),
            "media type in capitals": (FORM_TYPE.replace("form-data", "Form-Data"), body),
            "escaped file name": (FORM_TYPE, body.replace(b"tarq-linux", rb"\"tarq\"")),
            "unknown part": (FORM_TYPE, part("temperature", b"0") + body),
        }
        for name, (content_type, body) in rows.items():
            with self.subTest(name):
                self.assertEqual(self.backend.post_form(body, content_type).status, 200)

    def test_file_arrives_byte_for_byte(self) -> None:
        dashes = f"--{BOUNDARY}".encode()
        rows = {
            "line ends": b"\r\n\r\n\n\r\r\n\r\n",
            "every byte": bytes(range(256)),
            "boundary without its line": dashes + b"\r\n" + b"x" + dashes + b"--",
            "line that begins like the boundary": b"\r\n" + dashes + b"X\r\n",
            "line that the boundary begins with": b"\r\n" + dashes[:-1] + b"\r\n",
            "trailing line end": b"ab\r\n",
        }
        self.backend.set_transcript("read")
        for name, samples in rows.items():
            with self.subTest(name):
                audio = wav(samples + bytes(len(samples) % 2))
                self.assertEqual(self.backend.transcribe(audio).json(), {"text": "read"})
                received = self.backend.journal()[-1]["parts"][-1]
                self.assertEqual(received["sha256"], hashlib.sha256(audio).hexdigest())
                self.assertEqual(received["size"], len(audio))

    def test_broken_forms_are_refused(self) -> None:
        good = form(EMPTY)
        line = f"--{BOUNDARY}\r\n".encode()
        rows = {
            "empty body": b"",
            "boundary does not occur": good.replace(BOUNDARY.encode(), b"other"),
            "never closed": good[: -len(closing())],
            "cut in the middle": good[: len(good) // 2],
            "boundary alone": f"--{BOUNDARY}".encode(),
            "no parts": closing(),
            "bare line feeds": good.replace(b"\r\n", b"\n"),
            "part without headers": line + b"\r\nx\r\n" + good,
            "part without blank line": line + b"x\r\n" + good,
            "no disposition": line + b"Content-Type: text/plain\r\n\r\nx\r\n" + good,
            "disposition without name": good.replace(b'; name="model"', b""),
            "other disposition": good.replace(b"form-data; name", b"attachment; name"),
            "repeated parameter": good.replace(b'name="model"', b'name="model"; name="x"'),
            "open quote": good.replace(b'name="model"', b'name="model'),
            "header without colon": good.replace(b"Content-Type: audio", b"Content-Type audio"),
            "repeated header": good.replace(b"Content-Type: audio/wav", b"A: 1\r\na: 2"),
            "folded header": good.replace(b"Content-Type: audio", b"Content-Type:\r\n audio"),
            "header is not UTF-8": good.replace(b"tarq-linux", b"\xff"),
            "endless header": good.replace(b"tarq-linux", b"x" * 10_000),
            "too many parts": b"".join(part(f"x{i}", b"") for i in range(40)) + good,
        }
        for name, body in rows.items():
            with self.subTest(name):
                self.assertNotEqual(body, good)
                answer = self.backend.post_form(body)
                self.assertEqual(answer.status, 400)
                self.assertTrue(answer.message)

    def test_unusable_content_types_are_refused(self) -> None:
        # fmt: off
        rows = (
            "", "audio/wav", "multipart/mixed; boundary=x", "multipart/form-data",
            "multipart/form-data; boundary=", 'multipart/form-data; boundary=""',
            'multipart/form-data; boundary="x', f'multipart/form-data; boundary="{"x" * 71}"',
            'multipart/form-data; boundary="x "', "multipart/form-data boundary=x", ";;;",
        )
        # fmt: on
        for content_type in rows:
            with self.subTest(content_type):
                self.assertEqual(self.backend.post_form(form(EMPTY), content_type).status, 400)

    def test_forms_with_wrong_parts_are_refused(self) -> None:
        file = file_part(EMPTY)
        rows = {
            "no file": MODEL,
            "file without a name": MODEL + part("file", EMPTY),
            "no model": file,
            "empty model": part("model", b"") + file,
            "model is not text": part("model", b"\xff") + file,
            "empty language": MODEL + part("language", b"") + file,
            "other response format": MODEL + part("response_format", b"srt") + file,
            "two models": MODEL + MODEL + file,
            "two files": MODEL + file + file,
        }
        for name, parts in rows.items():
            with self.subTest(name):
                answer = self.backend.post_form(parts + closing())
                self.assertEqual(answer.status, 400)
                self.assertTrue(answer.message)

    def test_empty_file_is_not_a_wav(self) -> None:
        self.assertEqual(self.backend.transcribe(b"").status, 415)


if __name__ == "__main__":
    unittest.main()
