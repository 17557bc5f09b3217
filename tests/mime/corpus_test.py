"""Compares what the facade finds in the sample mail with the generator's manifests and with what
Python's own mail package, an independent reader of the RFCs, finds.

    corpus_test.py EMAIL_DUMP CORPUS_DIRECTORY
"""
import base64
import email
import email.header
import email.policy
import email.utils
import hashlib
import json
import pathlib
import subprocess
import sys
import unicodedata


def sha(data):
    return hashlib.sha256(data).hexdigest()


def sha_of_text(text):
    """The manifests hash bodies as lines without trailing white space, joined by LF."""
    if text is None:
        return None
    lines = [line.rstrip() for line in text.replace("\r\n", "\n").split("\n")]
    return sha("\n".join(lines).rstrip("\n").encode())


def dump(tool, mbox):
    out = subprocess.run([tool, mbox], check=True, capture_output=True).stdout
    return [json.loads(line) for line in out.decode().splitlines()]


def raw_messages(mbox):
    """The messages of an mbox as the dump tool cuts them."""
    message = None
    for line in mbox.read_bytes().split(b"\n"):
        line = line.removesuffix(b"\r")
        if line.startswith(b"From "):
            if message is not None:
                yield b"\r\n".join(message) + b"\r\n"
            message = []
            continue
        if line.startswith(b">") and line.lstrip(b">").startswith(b"From "):
            line = line[1:]
        message.append(line)
    yield b"\r\n".join(message[:-1]) + b"\r\n"


def compare_with_manifest(found, expected, where, problems):
    def check(field, a, b):
        if a != b:
            problems.append(f"{where}: {field}: found {a!r}, expected {b!r}")

    def with_name(pair):
        return [pair[0] or pair[1], pair[1]]

    check("subject", found["subject"], expected["subject"])
    check("from", with_name(found["from"]), expected["from"])
    for field in ("to", "cc"):
        check(field, [with_name(p) for p in found[field]], expected[field])
    check("date", email.utils.parsedate_to_datetime(found["date"]).timestamp(), expected["date"])
    check("plain", sha_of_text(found["plain"]), expected["plain_sha256"])
    check("html", sha_of_text(found["html"]), expected["html_sha256"])
    for field in ("attachments", "related"):
        check(field, len(found[field]), len(expected[field]))
        for a, b in zip(found[field], expected[field]):
            check(field + " name", a["name"], b["name"])
            check(field + " type", a["mime"], b["mime"])
            check(field + " bytes", sha(base64.b64decode(a["data"])), b["sha256"])
            check(field + " id", a.get("cid"), b["cid"])
    check("left over", found["leftovers"], [])
    check("embedded", len(found["embedded"]), len(expected["embedded"]))
    for i, (a, b) in enumerate(zip(found["embedded"], expected["embedded"])):
        compare_with_manifest(a, b, f"{where}.{i}", problems)


def plain(text):
    """Text without what two right readers may do differently: white space and normalisation."""
    return " ".join(unicodedata.normalize("NFC", text or "").split())


def decoded(value):
    return str(email.header.make_header(email.header.decode_header(value or "")))


def compare_with_python(found, raw, where, problems):
    message = email.message_from_bytes(raw, policy=email.policy.compat32)
    fields = {"subject": (found["subject"], decoded(message.get("Subject", "")))}
    pairs = email.utils.getaddresses(message.get_all("To", []) + [])
    fields["to"] = (sorted(a for _, a in found["to"] if "@" in a), sorted(a for _, a in pairs if "@" in a))
    name, address = email.utils.parseaddr(message.get("From", ""))
    fields["from"] = (found["from"][1], address)
    fields["from name"] = (found["from"][0], decoded(name))
    if not message.is_multipart() and message.get_content_type() == "text/plain":
        body = message.get_payload(decode=True)
        if all(b < 128 for b in body):
            fields["plain"] = (found["plain"], body.decode("ascii"))
    for field, (a, b) in fields.items():
        same = a == b if isinstance(a, list) else plain(a) == plain(b)
        if not same:
            problems.append(f"{where}: {field}: found {a!r}, Python {b!r}")


def main():
    tool, corpus = sys.argv[1], pathlib.Path(sys.argv[2])
    problems = []
    compared = 0
    for name in ("mime-mix", "mime-mix-crlf"):
        expected = {}
        with open(corpus / "mbox" / f"{name}.manifest.jsonl", encoding="utf-8") as lines:
            records = [json.loads(line) for line in lines]
        found = dump(tool, corpus / "mbox" / f"{name}.mbox")
        if len(found) != len(records):
            problems.append(f"{name}: {len(found)} messages, expected {len(records)}")
        for a, b in zip(found, records):
            compare_with_manifest(a, b, f"{name} {b['index']}", problems)
            compared += 1
    differences = []
    mbox = corpus / "mbox" / "easy-ham-1.mbox"
    found = dump(tool, mbox)
    raw = list(raw_messages(mbox))
    if len(found) != len(raw):
        problems.append(f"{mbox.name}: {len(found)} messages, Python finds {len(raw)}")
    for i, (a, b) in enumerate(zip(found, raw)):
        compare_with_python(a, b, f"{mbox.name} {i}", differences)
        compared += 1
    # A few headers are so broken that there is no right answer.
    if len(differences) > len(found) // 200:
        problems += differences
    print("\n".join(problems or differences))
    print(f"{compared} messages compared, {len(problems)} problems")
    return 1 if problems or compared == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
