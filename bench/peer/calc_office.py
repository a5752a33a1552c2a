#!/usr/bin/python3
"""The bench's hands on its soffice: wait until it accepts, close every document, or load a file
and print the seconds Calc took.

    /usr/bin/python3 calc_office.py CONNECTION wait|close|load FILE
"""
import sys
import time
from pathlib import Path

import uno
from com.sun.star.beans import PropertyValue


def desktop_at(connection):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    context = resolver.resolve(f"uno:{connection};urp;StarOffice.ComponentContext")
    return context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)


def main():
    connection, action = sys.argv[1], sys.argv[2]
    if action == "wait":
        for _ in range(600):
            try:
                desktop_at(connection)
                return 0
            except Exception:
                time.sleep(0.2)
        print(f"soffice did not accept {connection}", file=sys.stderr)
        return 1
    desktop = desktop_at(connection)
    if action == "close":
        documents = desktop.Components.createEnumeration()
        while documents.hasMoreElements():
            documents.nextElement().close(True)
        return 0
    if action == "load":
        hidden = PropertyValue()
        hidden.Name, hidden.Value = "Hidden", True
        start = time.perf_counter()
        desktop.loadComponentFromURL(Path(sys.argv[3]).resolve().as_uri(), "_blank", 0, (hidden,))
        print(f"{time.perf_counter() - start:.2f}")
        return 0
    return 2


if __name__ == "__main__":
    sys.exit(main())
