#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Speaks from Python, through the C interface: ctypes_reader.py LIBRARY OUT.aiff

Prints each word with its range as it is reported, then the state of the channel, and the errors of
a text with a mistake. LIBRARY is the path of libSpeechManager.so.
"""
import ctypes
import sys
import threading

NO_ERR = 0
INVALID_COMPONENT_ID = -3000


def code(characters):
    """The number of a four-character code."""
    return int.from_bytes(characters.encode("mac_roman"), "big")


class SpeechErrorInfo(ctypes.Structure):
    _pack_ = 2
    _fields_ = [
        ("count", ctypes.c_int16),
        ("oldest", ctypes.c_int16),
        ("oldPos", ctypes.c_int32),
        ("newest", ctypes.c_int16),
        ("newPos", ctypes.c_int32),
    ]


class SpeechStatusInfo(ctypes.Structure):
    _pack_ = 2
    _fields_ = [
        ("outputBusy", ctypes.c_uint8),
        ("outputPaused", ctypes.c_uint8),
        ("inputBytesLeft", ctypes.c_int32),
        ("phonemeCode", ctypes.c_int16),
    ]


DoneProc = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p)
WordProc = ctypes.CFUNCTYPE(
    None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_ulong, ctypes.c_uint16)


class SpeechManager:
    """The functions of the library that this program uses."""

    def __init__(self, path):
        library = ctypes.CDLL(path)
        pointer, short = ctypes.c_void_p, ctypes.c_int16
        self.new_channel = self._function(library, "NewSpeechChannel", short, [pointer, pointer])
        self.dispose_channel = self._function(library, "DisposeSpeechChannel", short, [pointer])
        self.set_info = self._function(
            library, "SetSpeechInfo", short, [pointer, ctypes.c_uint32, pointer])
        self.get_info = self._function(
            library, "GetSpeechInfo", short, [pointer, ctypes.c_uint32, pointer])
        self.speak_text = self._function(
            library, "SpeakText", short, [pointer, ctypes.c_char_p, ctypes.c_ulong])
        self.make_url = self._function(
            library, "CFURLCreateFromFileSystemRepresentation", pointer,
            [pointer, ctypes.c_char_p, ctypes.c_long, ctypes.c_uint8])
        self.release = self._function(library, "CFRelease", None, [pointer])

    @staticmethod
    def _function(library, name, result, arguments):
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
        return function


def check(result, what):
    if result != NO_ERR:
        sys.exit(f"{what}: {result}")


class Reader:
    def __init__(self, manager, path):
        self.manager = manager
        self.words = []
        self.done = threading.Event()
        # Kept here, so that they exist as long as the channel.
        self.word_proc = WordProc(self._word)
        self.done_proc = DoneProc(self._done)
        channel = ctypes.c_void_p()
        check(manager.new_channel(None, ctypes.byref(channel)), "NewSpeechChannel")
        self.channel = channel.value
        self._set("wdcb", ctypes.cast(self.word_proc, ctypes.c_void_p))
        self._set("sdcb", ctypes.cast(self.done_proc, ctypes.c_void_p))
        name = path.encode()
        url = manager.make_url(None, name, len(name), 0)
        self._set("opaf", url)
        manager.release(url)

    def _set(self, selector, value):
        check(self.manager.set_info(self.channel, code(selector), value), selector)

    def _word(self, _channel, _ref_con, position, length):
        self.words.append((position, length))

    def _done(self, _channel, _ref_con):
        self.done.set()

    def read(self, text):
        characters = text.encode("mac_roman")
        self.words.clear()
        self.done.clear()
        check(self.manager.speak_text(self.channel, characters, len(characters)), "SpeakText")
        self.done.wait()
        return [(at, characters[at:at + length].decode("mac_roman")) for at, length in self.words]

    def info(self, selector, record):
        check(self.manager.get_info(self.channel, code(selector), ctypes.byref(record)), selector)
        return record

    def close(self):
        check(self.manager.dispose_channel(self.channel), "DisposeSpeechChannel")
        return self.manager.dispose_channel(self.channel)


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.stdout.reconfigure(encoding="utf-8")
    reader = Reader(SpeechManager(sys.argv[1]), sys.argv[2])
    for text in ("A snake [[rate 250]]speaks.", "It says “déjà vu”.", "[[hiss 3]]Bye."):
        for position, word in reader.read(text):
            print(f"{position:3} {word}")
        errors = reader.info("erro", SpeechErrorInfo())
        print(f"{errors.count} errors, {errors.oldest} at {errors.oldPos}")
    status = reader.info("stat", SpeechStatusInfo())
    print(f"busy {status.outputBusy}, {status.inputBytesLeft} bytes left")
    rate = ctypes.c_int32(round(180.5 * 65536))
    check(reader.manager.set_info(reader.channel, code("rate"), ctypes.byref(rate)), "rate")
    print(f"rate {reader.info('rate', ctypes.c_int32()).value / 65536}")
    print("closed once" if reader.close() == INVALID_COMPONENT_ID else "closed twice")
    return 0


sys.exit(main())
