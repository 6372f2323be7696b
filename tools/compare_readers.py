#!/usr/bin/env python3
"""Compares the samples that tarn-media reads with those of ffmpeg and of sndfile-convert.

tools/compare_readers.py [--seconds N] [--tarn-media PROGRAM] [FOLDER...]: each file below the folders, and one of each
kind that ffmpeg and sndfile-convert make here. Samples become 64-bit floats in each of the three. Prints a row for each
file that another reads otherwise, then how many are equal; the exit status is 1 where a difference is none of EXPLAINED, 2 where a
program is missing.
"""
import argparse
import array
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile

TOP = pathlib.Path(__file__).resolve().parent.parent
TIME_LIMIT = 20

# Codecs of which each reader has a decoder of its own, and by how much their samples may differ.
TOLERANCES = [
    (r"\.(mp2|mp3|ogg|oga|opus)$", 2.0**-9),
]

# What tarn-media's info tells of a file, the other reader, the difference ("length", "samples", "format", "not read by tarn-media"),
# and what is known of it.
EXPLAINED = [
    (r"IMA ADPCM", "sndfile", "samples", "its decoder rounds otherwise; ffmpeg's gives the same as ours"),
    (r"Microsoft ADPCM", "sndfile", "samples", "in the last block's padding; ffmpeg's gives the same as ours"),
    (r"[_-]gsm\.wav", "ffmpeg", "length", "it heeds the count of frames, libsndfile plays the last block whole"),
    (r"[_-]gsm\.aif", "ffmpeg", "length", "it plays the last block whole, libsndfile heeds the count of frames"),
    (r"QuickTime.*\.m4a", "ffmpeg", "length", "it plays the padding behind the end that the edit list tells"),
    (r'RIFX.*"bits": 24', "ffmpeg", "samples", "it takes integers of 24 bits for little-endian ones"),
    (r"extensible_container", "ffmpeg", "samples", "it takes 32-bit containers with fewer valid bits for 24-bit floats"),
    (r"\.mat", "ffmpeg", "format", "it takes the file for another kind"),
]

Sound = collections.namedtuple("Sound", "rate channels samples")


def run(command, **options):
    """Nothing where it fails."""
    try:
        done = subprocess.run([str(c) for c in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, timeout=TIME_LIMIT, check=False, **options)
    except subprocess.TimeoutExpired:
        return None
    return done.stdout if done.returncode == 0 else None


def floats(data, of_type="d"):
    samples = array.array(of_type)
    samples.frombytes(data[:len(data) // samples.itemsize * samples.itemsize])
    return samples if of_type == "d" else array.array("d", (s / 2.0**31 for s in samples))


def read_wave(path):
    """A wave of 64-bit floats or 32-bit integers, as the programs here write it."""
    data = pathlib.Path(path).read_bytes()
    at, form = 12, None
    while at + 8 <= len(data):
        kind, size = data[at:at + 4], struct.unpack_from("<I", data, at + 4)[0]
        if kind == b"fmt ":
            form = struct.unpack_from("<HHIIHH", data, at + 8)
        if kind == b"data" and form:
            return Sound(form[2], form[1], floats(data[at + 8:at + 8 + size], "i" if form[5] == 32 else "d"))
        at += 8 + size + size % 2
    return None


def by_tarn(options, path, folder):
    out = folder / "tarn.wav"
    length = ["--length", options.seconds] if options.seconds else []
    command = [options.tarn_media, "convert", path, out, "--type", "float64", "--no-metadata", "-q", "-f"]
    # A part that is longer than the file is refused.
    if run(command + length) is None and (not length or run(command) is None):
        return None
    return read_wave(out)


def by_ffmpeg(options, path, _folder, _told):
    told = run(["ffprobe", "-v", "error", "-select_streams", "a:0", "-show_entries", "stream=channels,sample_rate",
                "-of", "json", path])
    streams = json.loads(told or "{}").get("streams")
    if not streams or "sample_rate" not in streams[0]:
        return None
    limit = ["-t", str(options.seconds)] if options.seconds else []
    data = run(["ffmpeg", "-v", "error", "-i", path, "-map", "0:a:0"] + limit + ["-f", "f64le", "-"])
    return Sound(int(streams[0]["sample_rate"]), streams[0]["channels"], floats(data)) if data else None


def by_sndfile(_options, path, folder, told):
    # It makes neither floats nor integers of MPEG audio without changing the level.
    if "MPEG" in told:
        return None
    # As floats, what is not stored as such would be scaled by the highest of them.
    how = "-float64" if "Float" in told else "-pcm32"
    out = folder / "sndfile.wav"
    return read_wave(out) if run(["sndfile-convert", how, path, out]) is not None and out.exists() else None


OTHERS = {"ffmpeg": by_ffmpeg, "sndfile": by_sndfile}


def same(a, b):
    """NaN and NaN are the same."""
    return a == b or (a != a and b != b)


def difference(own, other, tolerance, limit):
    """Nothing, or its kind and a text."""
    if other is None:
        return None
    if own is None:
        return "not read by tarn-media", ""
    if (own.rate, own.channels) != (other.rate, other.channels):
        return "format", f"{own.rate} Hz, {own.channels} channels against {other.rate} Hz, {other.channels}"
    a, b = own.samples, other.samples
    most = limit * own.rate * own.channels if limit else max(len(a), len(b))
    a, b = a[:most], b[:most]
    if a != b:
        wrong = [i for i, (x, y) in enumerate(zip(a, b)) if not same(x, y) and not abs(x - y) <= tolerance]
        if wrong:
            size = max(abs(a[i] - b[i]) for i in wrong)
            return "samples", f"from frame {wrong[0] // own.channels}, {len(wrong)} of {len(a)}, by up to {size:.3g}"
    if len(a) != len(b):
        return "length", f"{len(a) // own.channels} frames against {len(b) // own.channels}"
    return None


def explanation(told, other, kind):
    for pattern, reader, which, reason in EXPLAINED:
        if reader in ("*", other) and which == kind and re.search(pattern, told):
            return reason
    return None


def compare(options, path):
    """Rows of reader, kind, text and explanation, and the number of the three that read it."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        own = by_tarn(options, path, folder)
        told = (run([options.tarn_media, "info", "--json", path]) or b"{}").decode()
        others = {name: read(options, path, folder, told) for name, read in OTHERS.items()}
    told = " ".join(told.split())
    tolerance = next((t for pattern, t in TOLERANCES if re.search(pattern, path.name)), 0)
    rows = []
    for name, other in others.items():
        found = difference(own, other, tolerance, options.seconds)
        if found:
            rows.append((name, *found, explanation(told, name, found[0])))
    return rows, sum(sound is not None for sound in (own, *others.values()))


# The ending, and what makes such a file of a wave.
MADE_BY_FFMPEG = {
    "u8.wav": "pcm_u8", "s16.wav": "pcm_s16le", "s24.wav": "pcm_s24le", "s32.wav": "pcm_s32le", "f32.wav": "pcm_f32le",
    "f64.wav": "pcm_f64le", "mulaw.wav": "pcm_mulaw", "alaw.wav": "pcm_alaw", "ima.wav": "adpcm_ima_wav",
    "ms.wav": "adpcm_ms", "s24.w64": "pcm_s24le", "s16.aiff": "pcm_s16be", "s24.aiff": "pcm_s24be",
    "f32.aifc": "pcm_f32be -f aiff", "s24.caf": "pcm_s24be", "alac.caf": "alac", "s16.au": "pcm_s16be", "s16.flac": "flac",
    "s24.flac": "flac -sample_fmt s32", "vorbis.ogg": "libvorbis", "flac.ogg": "flac", "opus.opus": "libopus -ar 48000",
    "mp3.mp3": "libmp3lame", "mp2.mp2": "mp2", "ac3.ac3": "ac3", "aac.aac": "aac", "aac.m4a": "aac", "alac.m4a": "alac",
    "s16.mov": "pcm_s16le", "s24.mkv": "pcm_s24le", "opus.webm": "libopus -ar 48000", "s16.avi": "pcm_s16le",
    "mp3.avi": "libmp3lame", "wma.wma": "wmav2", "wv.wv": "wavpack", "tta.tta": "tta",
}
MADE_BY_SNDFILE = {
    "pcms8.aiff": "-pcms8", "pcm16.voc": "-pcm16", "pcm16.nist": "-pcm16", "pcm24.paf": "-pcm24", "pcm16.svx": "-pcm16",
    "float32.sf": "-float32", "float64.mat": "-float64", "pcm16.avr": "-pcm16", "gsm.wav": "-gsm610", "dwvw.aiff": "-dwvw16",
    "ulaw.au": "-ulaw", "alac.caf": "-alac24", "pcm24.rf64": "-pcm24", "pcm32.w64": "-pcm32", "float64.wav": "-float64",
}


def make_files(folder):
    source = folder / "source.wav"
    run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i",
         "aevalsrc=0.4*sin(440*t*t)+0.1*random(0)|0.3*sin(997*t):s=44100:d=1.5", "-c:a", "pcm_f32le", source])
    mono = folder / "mono.wav"
    run(["ffmpeg", "-v", "error", "-i", source, "-ac", "1", "-ar", "16000", "-c:a", "pcm_s16le", mono])
    failed = []
    for ending, how in MADE_BY_FFMPEG.items():
        if run(["ffmpeg", "-v", "error", "-i", source, "-c:a"] + how.split() + [folder / f"ffmpeg-{ending}"]) is None:
            failed.append(ending)
    for ending, how in MADE_BY_SNDFILE.items():
        plain = mono if how in ("-gsm610", "-dwvw16") or ending.endswith(".svx") else source
        if run(["sndfile-convert", how, plain, folder / f"sndfile-{ending}"]) is None:
            failed.append(ending)
    if failed:
        print("not made here:", ", ".join(failed))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folders", nargs="*", type=pathlib.Path)
    parser.add_argument("--seconds", type=int, default=0, help="of each file at most")
    parser.add_argument("--tarn-media", type=pathlib.Path, default=TOP / "build/dev/bin/tarn-media")
    options = parser.parse_args()
    missing = [p for p in (options.tarn_media, "ffmpeg", "ffprobe", "sndfile-convert") if not shutil.which(p)]
    missing += [folder for folder in options.folders if not folder.is_dir()]
    if missing:
        print("missing:", ", ".join(map(str, missing)), file=sys.stderr)
        return 2
    with tempfile.TemporaryDirectory() as name:
        make_files(pathlib.Path(name))
        files = [p for top in [pathlib.Path(name), *options.folders] for p in sorted(top.rglob("*")) if p.is_file()]
        counts = collections.Counter()
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for path, (rows, readers) in zip(files, pool.map(lambda path: compare(options, path), files)):
                for reader, kind, text, reason in rows:
                    print(f"{path.parent.name}/{path.name}: {reader}: {kind}{', ' + text if text else ''}"
                          f"{': ' + reason if reason else ' -- not explained'}", flush=True)
                is_explained = all(row[3] for row in rows)
                counts["different" if not is_explained else "different, explained" if rows else
                       ("read by none", "read by tarn-media alone", "equal", "equal")[readers]] += 1
    print(f"{len(files)} files:", ", ".join(f"{count} {what}" for what, count in sorted(counts.items())))
    return 1 if counts["different"] else 0


if __name__ == "__main__":
    sys.exit(main())
