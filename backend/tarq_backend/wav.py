"""Reads the header of a RIFF/WAVE file.

The standard library's wave module refuses floating point, hence this one.
"""

from __future__ import annotations

import struct
from dataclasses import dataclass

_PCM = 1
_FLOAT = 3
_SAMPLE_BITS = {_PCM: (8, 16, 24, 32), _FLOAT: (32, 64)}
_MAX_CHANNELS = 2
_MAX_RATE_HZ = 384_000


class WavError(ValueError):
    """The file is not a WAV that can be recognised; the text says why."""


@dataclass(frozen=True)
class Wav:
    rate_hz: int
    channels: int
    bits: int
    is_float: bool
    samples: bytes  # interleaved, little endian


def parse(data: bytes) -> Wav:
    """Raises WavError unless the file is complete, consistent and of a known encoding."""
    if len(data) < 12 or data[:4] != b"RIFF" or data[8:12] != b"WAVE":
        raise WavError("The file is not a WAV.")
    if struct.unpack_from("<I", data, 4)[0] + 8 > len(data):
        raise WavError("The WAV ends before its declared size.")
    wav_format: bytes | None = None
    position = 12
    while position + 8 <= len(data):
        name, size = struct.unpack_from("<4sI", data, position)
        content = data[position + 8 : position + 8 + size]
        if len(content) < size:
            raise WavError("The WAV ends in the middle of a chunk.")
        if name == b"fmt ":
            wav_format = content
        elif name == b"data":
            if wav_format is None:
                raise WavError("The WAV has no format before its data.")
            return _wav(wav_format, content)
        position += 8 + size + size % 2  # chunks start at even offsets
    raise WavError("The WAV has no data.")


def _wav(wav_format: bytes, samples: bytes) -> Wav:
    if len(wav_format) < 16:
        raise WavError("The format of the WAV is truncated.")
    code, channels, rate, byte_rate, frame_bytes, bits = struct.unpack_from("<HHIIHH", wav_format)
    if bits not in _SAMPLE_BITS.get(code, ()):
        raise WavError("The WAV has an unsupported sample format.")
    if not 1 <= channels <= _MAX_CHANNELS:
        raise WavError("The WAV is neither mono nor stereo.")
    if not 1 <= rate <= _MAX_RATE_HZ:
        raise WavError("The WAV has an impossible sample rate.")
    if frame_bytes != channels * bits // 8 or byte_rate != rate * frame_bytes:
        raise WavError("The format of the WAV contradicts itself.")
    if len(samples) % frame_bytes:
        raise WavError("The WAV ends in the middle of a sample.")
    return Wav(rate, channels, bits, code == _FLOAT, samples)
