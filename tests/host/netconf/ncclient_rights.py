"""What users can do on the server over SSH: logs in as each and tries to read and to write.

    ncclient_rights.py PORT USER...

Everybody's password is "secret". Prints a line for each: "ada refused" when the login fails, else "ada read=ok write=ok"
with the error-tag in place of "ok" where the server has refused the operation.
"""

import sys

from ncclient import manager
from ncclient.operations import RPCError
from ncclient.transport.errors import AuthenticationError

IPS = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"
BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"


def result_of(operation):
    try:
        operation()
        return "ok"
    except RPCError as error:
        return error.tag


def config(user):
    return (f'<config xmlns="{BASE}"><ips-config xmlns="{IPS}"><user-defined-ips><vsys><name>branch</name><profiles>'
            f'<profile><name>{user}</name></profile></profiles></vsys></user-defined-ips></ips-config></config>')


for user in sys.argv[2:]:
    try:
        session = manager.connect(host="127.0.0.1", port=int(sys.argv[1]), username=user, password="secret",
                                  hostkey_verify=False, allow_agent=False, look_for_keys=False, timeout=60)
    except AuthenticationError:
        print(user, "refused")
        continue
    with session:
        read = result_of(lambda: session.get_config("running"))
        write = result_of(lambda: session.edit_config(config(user), target="running"))
    print(user, f"read={read} write={write}")
