"""The clips that are damaged: short, small, and of as many containers and codecs as norix may meet."""

from __future__ import annotations

import os
import subprocess
import threading
from pathlib import Path

# Enough for key frames, reordering and a few packets of sound.
FRAMES = 14
_FILTER = f"select='between(n,20,{19 + FRAMES})',setpts=N/24/TB"

# Name of the file, and what ffmpeg is told to make it.
RECIPES: dict[str, str] = {
    "h264.mp4": "-c:v libx264 -g 6 -bf 2 -c:a aac",
    "h264-faststart.mp4": "-c:v libx264 -g 6 -c:a aac -movflags +faststart",
    "h264-fragments.mp4": "-c:v libx264 -g 4 -c:a aac -movflags frag_keyframe+empty_moov",
    "h264-intra.mov": "-c:v libx264 -g 1 -c:a pcm_s16le",
    "h264-interlaced.mp4": "-c:v libx264 -g 6 -flags +ildct+ilme -c:a aac",
    "h264-slices.mp4": "-c:v libx264 -g 6 -x264-params slices=3 -c:a aac",
    "h264-ten-bits.mkv": "-c:v libx264 -pix_fmt yuv420p10le -g 6 -c:a flac",
    "h264-444.mkv": "-c:v libx264 -pix_fmt yuv444p -g 6 -c:a ac3",
    "h264.mkv": "-c:v libx264 -g 6 -bf 2 -c:a libvorbis",
    "h264.ts": "-c:v libx264 -g 6 -bf 2 -c:a aac",
    "h264.m2ts": "-c:v libx264 -g 6 -c:a ac3",
    "h264.flv": "-c:v libx264 -g 6 -c:a aac -ar 44100",
    "h264.h264": "-c:v libx264 -g 6 -an",
    "h264.avi": "-c:v libx264 -g 6 -bf 0 -c:a mp3",
    "h264.mxf": "-c:v libx264 -g 6 -c:a pcm_s16le -ar 48000",
    "h264.nut": "-c:v libx264 -g 6 -c:a mp3",
    "hevc.mp4": "-c:v libx265 -x265-params log-level=none:keyint=6 -c:a aac",
    "hevc.ts": "-c:v libx265 -x265-params log-level=none:keyint=6 -c:a aac",
    "hevc-ten-bits.mkv": "-c:v libx265 -pix_fmt yuv420p10le -x265-params log-level=none:keyint=6 -an",
    "vp8.webm": "-c:v libvpx -deadline realtime -cpu-used 8 -g 6 -c:a libvorbis",
    "vp8-alpha.webm": "-c:v libvpx -deadline realtime -cpu-used 8 -g 6 -vf format=rgba,colorchannelmixer=aa=0.5 "
    "-pix_fmt yuva420p -auto-alt-ref 0 -an",
    "vp9.webm": "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 6 -c:a libopus",
    "vp9.mp4": "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 6 -c:a aac",
    "av1.mkv": "-c:v libaom-av1 -cpu-used 8 -usage realtime -g 6 -c:a libopus",
    "av1.mp4": "-c:v libaom-av1 -cpu-used 8 -usage realtime -g 6 -an",
    "mpeg4.avi": "-c:v mpeg4 -g 6 -bf 1 -c:a mp3",
    "mpeg4.mp4": "-c:v mpeg4 -g 6 -c:a aac",
    "msmpeg4.avi": "-c:v msmpeg4 -g 6 -c:a pcm_s16le",
    "mpeg2.mpg": "-c:v mpeg2video -g 6 -bf 2 -c:a mp2",
    "mpeg2.ts": "-c:v mpeg2video -g 6 -bf 2 -c:a mp2",
    "mpeg2.mxf": "-c:v mpeg2video -g 6 -c:a pcm_s16le -ar 48000",
    "mpeg1.mpg": "-c:v mpeg1video -g 6 -c:a mp2",
    "h263.3gp": "-c:v h263 -s 128x96 -g 6 -c:a aac",
    "flv1.flv": "-c:v flv -g 6 -c:a mp3 -ar 44100",
    "wmv2.wmv": "-c:v wmv2 -g 6 -c:a wmav2",
    "theora.ogv": "-c:v libtheora -g 6 -c:a libvorbis",
    "mjpeg.avi": "-c:v mjpeg -c:a pcm_s16le",
    "mjpeg.mov": "-c:v mjpeg -c:a aac",
    "prores.mov": "-c:v prores_ks -profile:v 1 -c:a pcm_s16le",
    "prores-4444.mov": "-c:v prores_ks -profile:v 4 -pix_fmt yuva444p10le -an",
    "dnxhd.mov": "-c:v dnxhd -profile:v dnxhr_lb -s 256x144 -an",
    "ffv1.mkv": "-c:v ffv1 -c:a flac",
    "ffv1-inter.avi": "-c:v ffv1 -g 6 -an",
    "huffyuv.avi": "-c:v huffyuv -c:a pcm_s16le",
    "utvideo.avi": "-c:v utvideo -an",
    "qtrle.mov": "-c:v qtrle -c:a pcm_s16le",
    "png.mov": "-c:v png -pix_fmt rgba -an",
    "jpeg2000.mov": "-c:v jpeg2000 -an",
    "svq1.mov": "-c:v svq1 -g 6 -an",
    "cinepak.avi": "-c:v cinepak -an",
    "msvideo1.avi": "-c:v msvideo1 -an",
    "rawvideo.avi": "-c:v rawvideo -pix_fmt yuv420p -c:a pcm_s16le",
    "raw.y4m": "-pix_fmt yuv420p -an",
    "rv20.rm": "-c:v rv20 -g 6 -c:a ac3",
    "dv.dv": "-s 720x576 -r 25 -pix_fmt yuv420p -frames:v 3 -c:v dvvideo -an",
    "film.gif": "-an",
    "film.apng": "-an",
    "film.webp": "-c:v libwebp_anim -an",
    "picture.png": "-frames:v 1 -an",
    "picture.jpg": "-frames:v 1 -an",
    "picture.bmp": "-frames:v 1 -an",
    "picture.tiff": "-frames:v 1 -an",
    "picture.webp": "-frames:v 1 -c:v libwebp -an",
    "picture.tga": "-frames:v 1 -an",
    "picture.ppm": "-frames:v 1 -an",
    "picture.jp2": "-frames:v 1 -c:v jpeg2000 -an",
    "picture.exr": "-frames:v 1 -an -pix_fmt gbrpf32le",
    "subtitled.mkv": "-i SUBTITLES -map 0:v -map 0:a -map 1 -c:v libx264 -g 6 -c:a aac -c:s srt -metadata title=Bird",
    "subtitled.mp4": "-i SUBTITLES -map 0:v -map 0:a -map 1 -c:v libx264 -g 6 -c:a aac -c:s mov_text",
    "many-streams.mkv": "-map 0:v -map 0:a -map 0:a -map 0:v -map 0:a -c:v libx264 -g 6 -c:a aac",
}

_SUBTITLES = "1\n00:00:00,100 --> 00:00:00,300\nA bird.\n\n2\n00:00:00,400 --> 00:00:00,500\nNo more.\n"


class Clips:
    """Makes each clip when it is first asked for and keeps it for later runs."""

    def __init__(self, assets: Path, folder: Path) -> None:
        self._assets = assets
        self._folder = folder
        self._locks = {name: threading.Lock() for name in RECIPES}
        folder.mkdir(parents=True, exist_ok=True)

    def content(self, name: str) -> bytes:
        """The bytes of a clip. Raises RuntimeError when ffmpeg cannot make it."""
        path = self._folder / name
        with self._locks[name]:
            if not path.exists():
                self._make(name, path)
        return path.read_bytes()

    def _make(self, name: str, path: Path) -> None:
        subtitles = self._folder / f"subtitles.{os.getpid()}.{name}.srt"
        subtitles.write_text(_SUBTITLES)
        words = [str(subtitles) if word == "SUBTITLES" else word for word in RECIPES[name].split()]
        source = self._assets / ("bird.mp4" if sum(name.encode()) % 2 else "meadow.mp4")
        # Under its name only when whole, as another run may look for it at the same time.
        made = path.with_name(f"{os.getpid()}.{name}")
        command = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", str(source), *words, "-t", "0.6", "-ac", "1", "-bitexact"]
        if "-vf" not in words:
            command += ["-vf", _FILTER]
        if "-s" not in words:
            command += ["-s", "96x56"]
        if name.startswith("film.webp"):
            command += ["-f", "webp"]
        try:
            ending = subprocess.run([*command, str(made)], capture_output=True, text=True, timeout=100)
            if ending.returncode != 0:
                raise RuntimeError(f"ffmpeg cannot make {name}: {ending.stderr}")
            made.rename(path)
        finally:
            subtitles.unlink(missing_ok=True)
            made.unlink(missing_ok=True)
