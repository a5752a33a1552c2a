"""A headless soffice of an interop check's own: a profile in the check's work folder and a free
port, waited for until it accepts, and killed with all it started when the check is done."""
import contextlib
import os
import signal
import socket
import subprocess
import time

import uno  # python3-uno: the independent UNO client

OFFICE = "/usr/lib/libreoffice/program/soffice"


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def desktop_at(connection):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    context = resolver.resolve(f"uno:{connection};urp;StarOffice.ComponentContext")
    return context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)


@contextlib.contextmanager
def headless_office(work):
    """Yields (connection, desktop) of a soffice running for the block; desktop is None when it
    never accepted."""
    profile = f"-env:UserInstallation=file://{work}/profile"
    # The profile is made first: soffice restarts itself after making one.
    subprocess.run([OFFICE, "--headless", "--terminate_after_init", profile], capture_output=True, timeout=300)
    connection = f"socket,host=127.0.0.1,port={free_port()}"
    office = subprocess.Popen([OFFICE, "--headless", "--invisible", "--nologo", "--norestore", "--nodefault",
                               f"--accept={connection};urp;", profile],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        desktop = None
        for _ in range(300):
            try:
                desktop = desktop_at(connection)
                break
            except Exception:
                time.sleep(0.2)
        yield connection, desktop
    finally:
        os.killpg(office.pid, signal.SIGKILL)
        office.wait()
