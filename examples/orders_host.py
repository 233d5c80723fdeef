#!/usr/bin/env python3
"""A host in Python: opens a document of the file type ORDERS through `vmlib rpc`, with a converter of its own.

    orders_host.py VMLIB DOCUMENT LAYOUT      prints the working copy's path

Version 2 of the layout calls the field Naam of Klanten Bedrijfsnaam. A conversion moves data by field name, so the names
would be lost: the converter fills them in. It is an object of this side, which the program calls back in the middle of
opening.
"""
import json
import os
import subprocess
import sys


class Bridge:
    """One JSON-RPC message a line, in both directions."""

    def __init__(self, program, serve):
        self.process = subprocess.Popen([program, "rpc"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, encoding="utf-8")
        self.serve = serve  # answers what the program asks: (method, params) -> result
        self.sent = 0

    def send(self, **message):
        self.process.stdin.write(json.dumps({"jsonrpc": "2.0", **message}) + "\n")
        self.process.stdin.flush()

    def request(self, method, **params):
        self.sent += 1
        id = self.sent
        self.send(id=id, method=method, params=params)
        while True:
            message = json.loads(self.process.stdout.readline())
            if "method" in message:
                self.send(id=message["id"], result=self.serve(message["method"], message["params"]))
            elif "error" in message:
                raise RuntimeError(f"error {message['error']['code']}: {message['error']['message']}")
            elif message["id"] == id:
                return message["result"]

    def create(self, name):
        return self.request("create", **{"class": name})["id"]

    def call(self, object, member, *arguments):
        """The result and the arguments as they stand afterwards."""
        answer = self.request("call", object=object, member=member, arguments=list(arguments))
        return answer["result"], answer["arguments"]

    def close(self):
        self.process.stdin.close()
        return self.process.wait()


def windows_path(path):
    return "Z:" + os.path.realpath(path).replace("/", "\\")


def main(program, document, layout):
    def serve(method, params):
        if method == "create":  # CreateObject of the class that was registered below
            return {"type": "Object", "id": 1, "client": True, "class": "OrdersConverter"}
        if method == "call" and params["member"] == "PakketConvert":
            database, _, old_version, _ = params["arguments"]
            if old_version["value"] < 2:
                fill_company_names(database["id"])
            return {"result": None}
        return None  # release

    def fill_company_names(converted):
        """Reads the old names from the document, which nobody holds open meanwhile."""
        old = bridge.call(library, "DBL_OpenMdb", windows_path(document), False, True, False)[0]["id"]
        rows = bridge.call(old, "OpenRecordset", "SELECT KlantNr, Naam FROM Klanten")[0]["id"]
        for number, name in zip(*columns(rows)):
            name = name.replace("'", "''")
            bridge.call(converted, "Execute", f"UPDATE Klanten SET Bedrijfsnaam = '{name}' WHERE KlantNr = {number['value']}")
        bridge.call(rows, "Close")
        bridge.call(old, "Close")

    def columns(rows):
        """GetRows gives one array of fields by rows, the field counting fastest."""
        items = bridge.call(rows, "GetRows", 1000)[0]["items"]
        return items[0::2], items[1::2]

    bridge = Bridge(program, serve)
    library = bridge.create("VmdDbLibRoutines")
    bridge.call(library, "DBL_InitPassWord")
    bridge.request("register", **{"class": "Orders.Converter"})
    bridge.call(library, "DBL_AutoConvertPakket", "Orders.Converter")
    number = {"type": "Integer", "value": 0}
    opened, after = bridge.call(
        library, "DBL_OpenDatabase", windows_path(document), "", "ORDERS", windows_path(layout), number, number, number, number
    )
    if not opened:
        print(bridge.call(library, "DBL_GetDatabaseError", after[7])[0], file=sys.stderr)
    else:
        print(after[1].removeprefix("Z:").replace("\\", "/"))
    bridge.close()
    return 0 if opened else 10 + after[7]["value"]


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
