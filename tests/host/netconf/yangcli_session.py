"""An interactive session of yangcli, which wants a terminal: types lines where it asks for them, and prints all it says.

    yangcli_session.py FILE_OF_LINES COMMAND ARGUMENT...
"""

import os
import pty
import re
import select
import sys
import time

PATIENCE = 60  # seconds for one answer
PROMPT = re.compile(rb"yangcli[^\n]*> $")
STYLE = re.compile(rb"\x1b\[\?2004[hl]|\r")


def read_to_prompt(terminal):
    """What is said until the next prompt, or until the end."""
    said = b""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if select.select([terminal], [], [], 0.2)[0]:
            try:
                part = os.read(terminal, 65536)
            except OSError:  # it has ended
                return said
            said += STYLE.sub(b"", part)
        elif PROMPT.search(said):
            return said
    raise TimeoutError(f"no prompt after {said!r}")


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        lines = file.read().splitlines()
    child, terminal = pty.fork()
    if child == 0:
        os.execvp(sys.argv[2], sys.argv[2:])
    for line in lines:
        sys.stdout.write(read_to_prompt(terminal).decode())
        os.write(terminal, line.encode() + b"\r")
    sys.stdout.write(read_to_prompt(terminal).decode())
    os.waitpid(child, 0)


main()
