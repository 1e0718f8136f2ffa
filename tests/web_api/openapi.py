#!/usr/bin/env -S python3 -B
"""Holds the JSON API against docs/openapi.json.

Usage: openapi.py ANSWER_REQUESTS DOCS_FOLDER

Sends requests to the program answer_requests. Each request that is meant to be right must be as the
document has it, and so must each answer. In the end each method of each path must have been
answered with each status that the document names for it. Prints what differs, and exits with 1
then; with 77, for skipped, where the library for schemas is missing.
"""

import fcntl
import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import sys
import tempfile
import time

try:
    import jsonschema
except ImportError:
    print("skipped: python3-jsonschema is missing")
    sys.exit(77)

USER = "alice@example.org"
STRANGER = "carol@example.org"
START = "/api/v1"
NO_REVISION = '"000000000000"'

TEST = {"type": "string", "field": "subject", "comparator": "contains", "value": "quarterly",
        "negative": False, "match_case": False}
FILTER = {"enabled": True, "name": "Reports", "relation": "allof", "tests": [TEST],
          "actions": [{"method": "move", "target": "Reports"}]}
SIEVE = 'require "fileinto";\nif header :is "subject" "a" { fileinto "A"; }\n'


class Description:
    """The document: its operations, and schemas that are held against values."""

    def __init__(self, folder):
        self.document = json.loads((folder / "openapi.json").read_text())
        base = (folder / "openapi.json").as_uri()
        self.resolver = jsonschema.RefResolver(base, self.document)
        self.operations = {(method.upper(), path): operation
                           for path, item in self.document["paths"].items()
                           for method, operation in item.items() if method != "parameters"}

    def resolved(self, value):
        """What a reference leads to; any other value as it is."""
        return self.resolver.resolve(value["$ref"])[1] if "$ref" in value else value

    def faults(self, schema, value):
        """What is wrong with a value, in a line each."""
        validator = jsonschema.Draft202012Validator(schema, resolver=self.resolver)
        return [f"{error.json_path}: {error.message}" for error in validator.iter_errors(value)]

    def find(self, method, target):
        """The path of the document that a target is of; None without such an operation."""
        path = target.partition("?")[0].removeprefix(START)
        fitting = [pattern for known, pattern in self.operations if known == method and
                   re.fullmatch(re.sub(r"\{\w+\}", "[^/]+", pattern), path)]
        return min(fitting, key=lambda pattern: pattern.count("{"), default=None)

    def parameters(self, method, path):
        shared = self.document["paths"][path].get("parameters", [])
        return [self.resolved(parameter)
                for parameter in shared + self.operations[method, path].get("parameters", [])]

    def statuses(self):
        """{(method, path, status)} that are named. Sessions are the server's, and so no part of the
        program: tests/webd holds them against the document."""
        return {(method, path, int(status)) for (method, path), operation in self.operations.items()
                if "session" not in operation.get("tags", ())
                for status in operation["responses"] if status != "default"}


class Api:
    """The API of one user, whose exchanges are held against the description."""

    def __init__(self, program, root, description, user=USER, file_size=None):
        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (file_size, file_size))

        self.process = subprocess.Popen([program, root, user], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True,
                                        preexec_fn=limit if file_size else None)
        self.description = description
        self.visited = set()
        self.found = []

    def close(self):
        self.process.stdin.close()
        if self.process.wait(timeout=60) != 0:
            self.found.append(f"the program ended with {self.process.returncode}")

    def exchange(self, method, target, headers, body):
        self.process.stdin.write(json.dumps({"method": method, "target": START + target,
                                             "headers": headers, "body": body}) + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def ask(self, method, target, body=None, tag=None, right=True, kind="application/json",
            **others):
        """The answer to a request, which is one of those that the document has if it is right."""
        headers = {name.replace("_", "-"): value for name, value in others.items()}
        if body is not None:
            headers["content-type"] = kind
        if tag:
            headers["if-match"] = tag
        answer = self.exchange(method, target, headers, "" if body is None else json.dumps(body))
        path = self.description.find(method, target)
        self.visited.add((method, path, answer["status"]))
        faults = self.answer_faults(method, path, answer)
        if right:
            faults += self.request_faults(method, path, target, headers, body)
        self.found += [f"{method} {target}, {answer['status']}: {fault}" for fault in faults]
        return answer

    def await_work(self):
        """Until nothing is done to the user's mail."""
        while json.loads(self.exchange("GET", "/application", {}, "")["body"]).get("state") in (
                "planning", "filing", "undoing"):
            pass

    def tag(self):
        return self.exchange("GET", "/rules", {}, "")["headers"]["etag"]

    def request_faults(self, method, path, target, headers, body):
        operation = self.description.operations[method, path]
        if body is not None:
            content = operation.get("requestBody", {}).get("content", {})
            if "application/json" not in content:
                yield "the document has no body"
            else:
                yield from self.description.faults(content["application/json"]["schema"], body)
        elif operation.get("requestBody", {}).get("required"):
            yield "the body is missing"
        parameters = self.description.parameters(method, path)
        known = {(each["in"], each["name"].lower()) for each in parameters}
        given = {("query", each.partition("=")[0])
                 for each in target.partition("?")[2].split("&") if each}
        given |= {("header", name) for name in headers if name != "content-type"}
        yield from (f"the document does not know {each}" for each in given - known)

    def answer_faults(self, method, path, answer):
        named = self.description.operations[method, path]["responses"]
        response = named.get(str(answer["status"]))
        if response is None:
            return ["the document does not name the status"]
        response = self.description.resolved(response)
        kind = answer["headers"].get("content-type")
        if kind not in response["content"]:
            return [f"the document does not name the type {kind}"]
        schema = response["content"][kind]["schema"]
        value = json.loads(answer["body"]) if kind.endswith("json") else answer["body"]
        return list(self.description.faults(schema, value)) + \
            list(self.header_faults(response.get("headers", {}), answer["headers"]))

    def header_faults(self, headers, given):
        for name, header in headers.items():
            header = self.description.resolved(header)
            value = given.get(name.lower())
            if value is None:
                yield f"the header {name} is missing"
            elif header["schema"].get("type") == "string":
                yield from self.description.faults(header["schema"], value)


# Each operation once, with what it takes: the method, the target, and the body of a right request.
READS = (("GET", "/rules"), ("GET", "/rules/1"), ("GET", "/fields"), ("GET", "/folders"),
         ("GET", "/history"), ("GET", "/history/{revision}"), ("GET", "/export"),
         ("GET", "/application"),
         ("GET", "/messages"), ("GET", "/messages/{message}"),
         ("GET", "/messages/{message}/explanation"), ("GET", "/statistics"))
CHANGES = (("POST", "/rules", {**FILTER, "before": 1}),
           ("PUT", "/rules/1", {**FILTER, "name": "Other"}),
           ("PATCH", "/rules/1", {"enabled": False}),
           ("POST", "/rules/1/move", {"last": True}),
           ("DELETE", "/rules/2", None),
           ("POST", "/history/undo", None),
           ("POST", "/history/redo", None),
           ("POST", "/history/restore", {"revision": "{revision}"}),
           ("PUT", "/rules", {"filters": [{**FILTER, "id": 1}, {**FILTER, "id": 2}, FILTER]}),
           ("POST", "/import?from=sieve&mode=append", {"text": SIEVE}),
           ("POST", "/application/plan", {"folder": "INBOX", "since": 0}),
           ("POST", "/application", {"rule": 1, "discard_to": "Trash"}))
# without a body and a revision
ORDERS = (("POST", "/application/stop"), ("POST", "/application/undo"))
CHECK = ("POST", "/rules/check", {"filter": FILTER})
PREVIEW = ("POST", "/preview", {"filter": FILTER})

# Files of the inbox. The unique part of the first one's name is the message that is asked for.
UNIQUE = "1777896000.M1P2Q3.mx"
MAIL = {f"cur/{UNIQUE}:2,S": "From: Bob <bob@example.org>\nSubject: The quarterly report\n"
                             "Message-ID: <1@example.org>\n\nText\n",
        "new/1777895000.M1P2Q3.mx": "Subject: other\nList-Id: <news.example.org>\n\n",
        "new/1777894000.M1P2Q3.mx": ""}
DELIVERY = {"time": int(time.time()) - 60, "message_id": "<1@example.org>", "status": "delivered",
            "rule": "Reports", "folders": ["Reports"], "inbox_reason": "none", "note": "",
            "revision": "0123456789ab"}


def filled(value, revision):
    """A target or a body, with what stands in braces filled in."""
    return None if value is None else json.loads(
        json.dumps(value).replace("{revision}", revision)
        .replace("{message}", UNIQUE.encode().hex()))


def put_mail(folder):
    for part in ("cur", "new", "tmp"):
        (folder / "Maildir" / part).mkdir(parents=True)
    for name, text in MAIL.items():
        (folder / "Maildir" / name).write_text(text)
    (folder / ".delivery_journal").write_text(f"\x1e{json.dumps(DELIVERY)}\n")


def ask_rightly(api):
    """What a client does; the revision of a state with one filter."""
    api.ask("POST", "/rules", FILTER, api.tag())
    tag = api.tag()
    revision = tag.strip('"')
    for method, target in READS:
        api.ask(method, filled(target, revision))
    for method, target, body in CHANGES:
        api.ask(method, target, filled(body, revision), api.tag(), idempotency_key=target)
        api.await_work()
    for body in ({"filter": FILTER}, {"test": TEST}, {"filter": {}}, {"test": {**TEST, "value": ""}}):
        api.ask("POST", "/rules/check", body)
    for form in ("json", "xml", "sieve"):
        api.ask("GET", "/export?form=" + form)
    api.ask("POST", "/import?from=sieve&mode=replace&dry_run=true&accept_loss=true",
            {"text": SIEVE})
    api.ask("POST", "/rules", FILTER, tag, idempotency_key="a")
    ask_about_mail(api)
    list_of_all = json.loads(api.ask("GET", "/rules")["body"])
    api.ask("PUT", "/rules", list_of_all, api.tag())
    return revision


def ask_about_mail(api):
    first = json.loads(api.ask("GET", "/messages?folder=INBOX&count=1")["body"])
    api.ask("GET", "/messages?cursor=" + first["cursor"])
    last = json.loads(api.ask("GET", "/rules")["body"])["filters"][-1]["id"]
    api.ask(*PREVIEW)
    api.ask("POST", "/preview", {"filter": {**FILTER, "name": "Other"}, "folder": "INBOX"})
    api.ask("POST", "/preview", {"filter": FILTER, "id": last, "before": 1})
    api.ask("GET", "/statistics?days=7")


def ask_wrongly(api, revision):
    """What no client should do; the operations that need no revision come without one."""
    tag = api.tag()
    for method, target in READS:
        api.ask(method, filled(target, revision) + "?other=1", right=False)
    for method, target, body in (*CHANGES, CHECK, PREVIEW):
        body = filled(body, revision)
        api.ask(method, target + ("&" if "?" in target else "?") + "other=1", body, tag, right=False)
        if body is not None:
            api.ask(method, target, body, tag, right=False, kind="text/plain")
            api.ask(method, target, {"other": 1}, tag, right=False)
    for method, target in ORDERS:
        api.ask(method, target + "?other=1", right=False)
    for method, target, body in CHANGES:
        api.ask(method, target, filled(body, revision))
        api.await_work()
        api.ask(method, target, filled(body, revision), NO_REVISION)
    api.ask("POST", "/preview", {"filter": FILTER, "cursor": "a"})
    api.ask("POST", "/import?from=sieve", {"text": SIEVE}, tag)
    api.ask("POST", "/import?from=sieve&mode=append", {"text": SIEVE + "redirect \"a@example.org\";"},
            tag)


def ask_all(api, revision, tag):
    """Each operation in a right form."""
    for method, target in READS:
        api.ask(method, filled(target, revision))
    for method, target, body in CHANGES:
        api.ask(method, target, filled(body, revision), tag)
        api.await_work()
    for method, target in ORDERS:
        api.ask(method, target)
    api.ask(*CHECK)
    api.ask(*PREVIEW)


def apply_rules(api, folder):
    """Has a message moved and brought back, and asks for more while another process moves mail."""
    (folder / "Maildir/new/1700000000.a").write_text("Subject: quarterly\n\n")
    api.ask("PUT", "/rules", {"filters": [{**FILTER, "id": 1}]}, api.tag())
    api.ask("POST", "/application", {}, api.tag(), idempotency_key="apply")
    api.await_work()
    if not (folder / "Maildir/.Reports/new/1700000000.a").exists():
        api.found.append("the message was not moved")
    api.ask("POST", "/application/undo", idempotency_key="undo")
    api.await_work()
    lock = os.open(folder / ".refiling_lock", os.O_RDWR)
    fcntl.lockf(lock, fcntl.LOCK_EX)
    for target in ("/application", "/application/plan"):
        api.ask("POST", target, {}, api.tag())
    os.close(lock)


def run(program, root, description, steps, **options):
    """What differs, and what was visited, in the steps of one program."""
    api = Api(program, root, description, **options)
    result = steps(api)
    api.close()
    return result, api.found, api.visited


def main(program, docs):
    description = Description(pathlib.Path(docs).resolve())
    found = []
    visited = set()
    with tempfile.TemporaryDirectory() as root:
        folder = pathlib.Path(root, "example.org", "alice")
        folder.mkdir(parents=True)
        put_mail(folder)

        def go(steps, **options):
            result, faults, places = run(program, root, description, steps, **options)
            found.extend(faults)
            visited.update(places)
            return result

        revision = go(ask_rightly)
        go(lambda api: ask_wrongly(api, revision))
        go(lambda api: apply_rules(api, folder))
        go(lambda api: api.ask("POST", "/history/undo", tag=api.tag()))  # for redo
        tag = go(lambda api: api.tag())
        # with files no larger than the history, which grows with each change, the disk is full
        history = (folder / ".delivery_filter.history").stat().st_size
        go(lambda api: ask_all(api, revision, tag), user=STRANGER)
        go(lambda api: ask_all(api, revision, tag), file_size=history)
        lock = os.open(folder, os.O_RDONLY)
        fcntl.flock(lock, fcntl.LOCK_EX)
        go(lambda api: ask_all(api, revision, tag))
        os.close(lock)
        (folder / ".delivery_filter.xml").write_text("<filters><filter/></filters>")
        (folder / ".delivery_filter.custom.xml").write_text("<fields")
        go(lambda api: ask_all(api, revision, tag))
    for method, path, status in sorted(description.statuses() - visited):
        found.append(f"{method} {path} was never answered with {status}")
    print("\n".join(found))
    sys.exit(1 if found else 0)


main(*sys.argv[1:])
