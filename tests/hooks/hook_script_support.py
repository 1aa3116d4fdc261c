"""What the tests of the hook script share: a listener in Vantry's place, an agent's process, a run of the script."""
import json
import os
import pathlib
import queue
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "src/resources/vantry_hook.py"
FIXTURES = ROOT / "tests/fixtures"
PATIENCE = 30  # seconds after which a test gives up; nothing is expected to take that long

OK = b"HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: %d\r\nConnection: close\r\n\r\n%s"
ALLOW = b'{"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}}'

STRINGS = """session_id cwd transcript_path permission_mode hook_event_name type tool_name tool_use_id notification_type
    message source model agent_type agent_id error last_assistant_message prompt terminal_type terminal_session_id
    project_dir tool_detail""".split()
EVENTS = """SessionStart SessionEnd Notification Stop UserPromptSubmit PreToolUse PostToolUse PostToolUseFailure
    PermissionRequest SubagentStart SubagentStop PreCompact TaskCompleted TeammateIdle ConfigChange InstructionsLoaded
    WorktreeCreate WorktreeRemove""".split()


def event(name, **more):
    return dict({"session_id": "s-1", "hook_event_name": name, "cwd": "/tmp"}, **more)


def answer_with(body):
    return OK % (len(body), body)


def fixture(name):
    return (FIXTURES / "hook-events" / name).read_bytes()


def undecodable(event):
    """The keys whose values Vantry's strict decoder refuses."""
    kinds = dict.fromkeys(STRINGS, str)
    kinds.update(tool_input=dict, tool_response=dict, is_interrupt=bool, stop_hook_active=bool, pid=int, shell_pid=int,
                 permission_suggestions=list)
    wrong = [key for key, value in event.items()
             if value is not None and key in kinds and type(value) is not kinds[key]]
    if type(event.get("timestamp", 0)) not in (int, float, type(None)):
        wrong.append("timestamp")
    if any(type(item) is not dict for item in event.get("permission_suggestions") or []):
        wrong.append("permission_suggestions")
    return wrong


class Request:
    """One request as the listener got it, with its connection still open."""

    def __init__(self, connection, head, body):
        self.connection, self.head, self.body = connection, head, body

    @property
    def event(self):
        return json.loads(self.body)

    def answer(self, data):
        self.connection.sendall(data)
        self.connection.close()

    def reset(self):
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.connection.close()

    def peer_has_closed(self):
        with self.connection:
            self.connection.settimeout(PATIENCE)
            try:
                return self.connection.recv(1) == b""
            except ConnectionError:
                return True


class Listener:
    """Answers ordinary events as Vantry does and keeps permission requests open; `answer`, if set, are the bytes that
    answer everything."""

    def __init__(self):
        self.answer = None
        self.requests = queue.Queue()
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        while True:
            try:
                connection, _ = self.socket.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        data = b""
        while b"\r\n\r\n" not in data:
            data += connection.recv(65536)
        head, _, body = data.partition(b"\r\n\r\n")
        length = [line for line in head.split(b"\r\n") if line.startswith(b"Content-Length: ")]
        pieces, missing = [body], int(length[0].split()[1]) - len(body)
        while missing > 0:
            pieces.append(connection.recv(1 << 20))
            missing -= len(pieces[-1])
        request = Request(connection, head, b"".join(pieces))
        self.requests.put(request)  # before the answer, with which the hook goes
        if self.answer is not None:
            request.answer(self.answer)
        elif b'"PermissionRequest"' not in request.body:
            request.answer(answer_with(b"{}"))

    def next(self):
        return self.requests.get(timeout=PATIENCE)

    def bodies(self):
        """What has come so far, taken out."""
        found = []
        while not self.requests.empty():
            found.append(self.requests.get())
        return [request.event for request in found]

    def close(self):
        if self.thread.is_alive():
            self.socket.shutdown(socket.SHUT_RDWR)  # wakes the thread, which would go on with a socket of the same number
            self.thread.join()
        self.socket.close()


class HookTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.listener = Listener()
        self.addCleanup(self.listener.close)
        self.agent = self.start_process(["sleep", "1000"])
        self.environment = {"PATH": os.environ["PATH"], "XDG_RUNTIME_DIR": str(self.folder),
                            "CLAUDE_PID": str(self.agent.pid)}

    def start_process(self, command, **options):
        process = subprocess.Popen(command, **options)
        self.addCleanup(lambda: (process.kill(), process.wait()))
        return process

    def start(self, payload, environment=None, port=None, interpreter=(sys.executable,), script=SCRIPT, **options):
        """A run of the script on its way; `payload` is an event or the bytes of one."""
        process = subprocess.Popen(
            [*interpreter, str(script), "--port", str(port or self.listener.port)], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True,
            env=self.environment if environment is None else environment, **options)
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdout.close(), process.stderr.close()))
        process.stdin.write(payload if type(payload) is bytes else json.dumps(payload).encode())
        process.stdin.close()
        process.stdin = None
        return process

    def finish(self, process, printed=b""):
        out, error = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, out, error), (0, printed, b""))

    def run_hook(self, payload, printed=b"", **options):
        self.finish(self.start(payload, **options), printed)

    def delivered(self, payload, **options):
        """The one event that a run posts."""
        self.run_hook(payload, **options)
        return self.listener.next().event

    def kill_agent(self):
        self.agent.send_signal(signal.SIGKILL)
        self.agent.wait()
