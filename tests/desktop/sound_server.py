"""A private sound server with a virtual microphone, and what a test asks of it."""

import os
import signal
import subprocess

from waiting import wait_until

CONFIGURATION = """\
load-module module-native-protocol-unix
load-module module-null-sink sink_name=vmic norewinds=1 rate={rate} channels={channels} \
format=float32le
load-module module-remap-source master=vmic.monitor source_name=mic
load-module module-null-sink sink_name=speakers norewinds=1 rate=48000 channels=2
set-default-source mic
set-default-sink speakers
"""


class SoundServer:
    """PulseAudio of this desktop alone.

    What is played into the sink "vmic" is heard by the source "mic", the default microphone of
    `rate` Hz and `channels` channels. What the program plays goes to the sink "speakers".
    """

    def __init__(self, desktop, rate=48000, channels=2):
        self.desktop = desktop
        self.rate = rate
        self.channels = channels
        self.process = None

    def launch(self):
        """Starts the server; `await_ready` tells when it can be used."""
        configuration = self.desktop.folder / "pulse.pa"
        configuration.write_text(CONFIGURATION.format(rate=self.rate, channels=self.channels))
        self.process = self.desktop.spawn(
            ["pulseaudio", "-n", "-F", str(configuration), "--daemonize=no",
             "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=no"], log="pulseaudio")

    def await_ready(self):
        socket = self.desktop.runtime_folder / "pulse" / "native"

        def listening():
            if self.process.poll() is not None:
                raise RuntimeError(f"pulseaudio ended with {self.process.returncode}")
            return socket.exists()

        wait_until(listening, "the sound server's socket")
        # Answered only after the whole configuration has been read.
        self.control("info")

    def control(self, *arguments):
        """The output of one pactl command."""
        return self.desktop.output(["pactl", *arguments])

    def source_outputs(self):
        """One line for each stream that records, as pactl prints them."""
        lines = self.control("list", "source-outputs", "short").splitlines()
        # The remapped microphone records from its master for as long as it exists.
        return [line for line in lines if "module-remap-source" not in line]

    def play(self, wav, sink="vmic"):
        """Plays a WAV file to its end; returns then. Into "vmic": the microphone hears it."""
        self.desktop.output(["paplay", "-d", sink, str(wav)])

    def begin_playing(self, wav, sink="vmic"):
        """The process that plays a WAV file; returns at once."""
        return self.desktop.spawn(["paplay", "-d", sink, str(wav)], log="paplay")

    def add_microphone(self, name, rate, channels):
        """A further microphone "name", with a sink "name-in" into which it hears."""
        self.control("load-module", "module-null-sink", f"sink_name={name}-in", "norewinds=1",
                     f"rate={rate}", f"channels={channels}", "format=float32le")
        return self.control("load-module", "module-remap-source", f"master={name}-in.monitor",
                            f"source_name={name}").strip()

    def unplug_microphone(self):
        """Removes the default source, as pulling the plug does."""
        self.control("unload-module", "module-remap-source")

    def plug_in_microphone(self):
        self.control("load-module", "module-remap-source", "master=vmic.monitor",
                     "source_name=mic")
        self.control("set-default-source", "mic")

    def die(self):
        """Ends the server without warning to its clients."""
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        # A server that was killed leaves its socket behind, and the next one would take the
        # name from under a client that connects at that moment.
        socket = self.desktop.runtime_folder / "pulse" / "native"
        if socket.exists():
            os.unlink(socket)

    def restart(self):
        self.launch()
        self.await_ready()


class PipeWireServer(SoundServer):
    """PipeWire in PulseAudio's place. Its session manager wants the session bus, so it is launched
    when the desktop is there."""

    NAMES = ("pipewire", "wireplumber", "pipewire-pulse")
    MODULES = (
        "module-null-sink sink_name=speakers norewinds=1",
        "module-null-sink sink_name=vmic norewinds=1 format=float32le rate={rate} "
        "channels={channels}",
        "module-remap-source master=vmic.monitor source_name=mic",
    )

    def launch(self):
        self.processes = []
        for name, file in zip(self.NAMES, ("pipewire-0", None, "pulse/native")):
            self.processes.append(self.desktop.spawn([name]))
            if file:
                wait_until((self.desktop.runtime_folder / file).exists, f"{name}'s socket")
        self.process = self.processes[-1]

    def await_ready(self):
        wait_until(lambda: "auto_null.monitor" in self._info(), "the session manager")
        for module in self.MODULES:
            self.control("load-module", *module.format(
                rate=self.rate, channels=self.channels).split())
        self.control("set-default-sink", "speakers")
        self.control("set-default-source", "mic")
        wait_until(lambda: "Default Source: mic" in self._info(), "the microphone")

    def source_outputs(self):
        lines = self.control("list", "source-outputs", "short").splitlines()
        # The server's own streams belong to no client.
        return [line for line in lines if line.split("\t")[2] != "-"]

    def die(self):
        for process in self.processes:
            process.send_signal(signal.SIGKILL)
            process.wait()
        for file in ("pulse/native", "pipewire-0", "pipewire-0-manager"):
            (self.desktop.runtime_folder / file).unlink(missing_ok=True)

    def _info(self):
        try:
            return self.control("info")
        except subprocess.CalledProcessError:
            return ""


def speech(text, path, voice="kal16"):
    """Writes a WAV file in which a synthetic voice says `text`; returns its path."""
    subprocess.run(["flite", "-voice", voice, "-t", text, "-o", str(path)], check=True,
                   stdout=subprocess.DEVNULL)
    return path
