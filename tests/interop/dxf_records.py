"""The text of an ASCII DXF file cut into records, for the checks that compare a drawing before
and after velmar changed it, record by record."""
from pathlib import Path


def records(path):
    """The DXF text cut into records at each group 0, keyed by handle (or position)."""
    lines = Path(path).read_text(encoding="utf-8", errors="surrogateescape").splitlines()
    result, current, handle, index = {}, [], None, 0
    for i in range(0, len(lines) - 1, 2):
        code, value = lines[i].strip(), lines[i + 1]
        if code == "0" and current:
            result[handle or f"#{index}"] = current
            current, handle, index = [], None, index + 1
        current.append((code, value))
        if code in ("5", "105") and handle is None:
            handle = value.strip().upper()
    if current:
        result[handle or f"#{index}"] = current
    return result
