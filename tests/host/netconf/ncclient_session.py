"""A session of ncclient for every operation of the server, over SSH.

    ncclient_session.py PORT KEY_FILE

The users are "ada", who has the key, and "bob" with the password "secret". Ends with an exception where the server does
not do what is expected, and prints "done" otherwise.
"""

import sys

from ncclient import manager
from ncclient.operations import RPCError
from ncclient.transport.errors import AuthenticationError
from ncclient.xml_ import to_ele

PORT = int(sys.argv[1])
KEY = sys.argv[2]

IPS = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"
BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"


def profile(description):
    """A configuration with one profile; none for an empty description."""
    if not description:
        return f'<config xmlns="{BASE}"><ips-config xmlns="{IPS}" xmlns:nc="{BASE}" nc:operation="remove"/></config>'
    return (f'<config xmlns="{BASE}"><ips-config xmlns="{IPS}"><user-defined-ips><vsys><name>branch</name><profiles>'
            f'<profile><name>web</name><description>{description}</description></profile></profiles></vsys>'
            f'</user-defined-ips></ips-config></config>')


def connect(**how):
    return manager.connect(host="127.0.0.1", port=PORT, hostkey_verify=False, allow_agent=False, look_for_keys=False,
                           timeout=60, **how)


def with_password(password="secret", user="bob"):
    return connect(username=user, password=password)


def with_key():
    return connect(username="ada", key_filename=KEY)


def description(session, source="running"):
    """What the profile says in a datastore; empty when there is none."""
    found = session.get_config(source).data_ele.findall(f".//{{{IPS}}}description")
    return found[0].text if found else ""


def expect(actual, wanted):
    assert actual == wanted, f"{actual!r} instead of {wanted!r}"


def expect_error(tag, operation, *arguments, **options):
    try:
        operation(*arguments, **options)
    except RPCError as error:
        expect(error.tag, tag)
        return error
    raise AssertionError(f"no error {tag}")


def logins():
    for wrong in ({"username": "bob", "password": "wrong"}, {"username": "ada", "password": "secret"},
                  {"username": "eve", "password": ""}, {"username": "bob", "key_filename": KEY}):
        try:
            connect(**wrong)
        except AuthenticationError:
            continue
        raise AssertionError(f"{wrong} is let in")


def edits(session):
    expect(session.edit_config(target="running", config=profile("first")).ok, True)
    expect(description(session), "first")
    filtered = session.get_config("running", filter=("subtree", f'<ips-config xmlns="{IPS}"/>'))
    assert "first" in filtered.data_xml
    filtered = session.get(filter=("xpath", "//*[local-name()='description']"))
    assert "first" in filtered.data_xml and "netconf-state" not in filtered.data_xml
    assert "false" in session.get_config("running", with_defaults="report-all").data_xml

    expect(session.edit_config(target="candidate", config=profile("second")).ok, True)
    expect(description(session, "candidate"), "second")
    expect(session.discard_changes().ok, True)
    expect(description(session, "candidate"), "first")

    session.edit_config(target="candidate", config=profile("second"))
    expect(session.validate("candidate").ok, True)
    expect(session.commit().ok, True)
    expect(description(session), "second")

    session.edit_config(target="candidate", config=profile("third"))
    expect(session.commit(confirmed=True, timeout="60").ok, True)
    expect(description(session), "third")
    expect(session.cancel_commit().ok, True)
    expect(description(session), "second")


def copies(session):
    expect(session.copy_config(source="running", target="startup").ok, True)
    expect(description(session, "startup"), "second")
    expect(session.delete_config(target="startup").ok, True)
    expect(description(session, "startup"), "")


def errors(session):
    wrong = profile("x").replace("description>", "nothing>")
    error = expect_error("unknown-element", session.edit_config, target="running", config=wrong)
    assert error.path.endswith("/qn-ips:nothing"), error.path
    expect(error.type, "application")
    expect(error.severity, "error")
    expect(description(session), "second")


def locks(session):
    other = with_password()
    with session.locked("running"):
        error = expect_error("lock-denied", other.lock, "running")
        assert session.session_id in error.info, error.info
        expect_error("in-use", other.edit_config, target="running", config=profile("x"))
    expect(other.lock("running").ok, True)
    expect(session.kill_session(other.session_id).ok, True)
    expect(session.lock("running").ok, True)
    expect(session.unlock("running").ok, True)


def notifications():
    """Told of what another session does."""
    with with_key() as listener, with_password() as editor:
        expect(listener.create_subscription().ok, True)
        editor.edit_config(target="running", config=profile("fourth"))
        text = ""
        while "netconf-config-change" not in text:  # the editor's session may begin after the subscription
            text = listener.take_notification(timeout=30).notification_xml
        assert "bob" in text, text
        expect(description(listener), "fourth")
        editor.edit_config(target="running", config=profile("second"))


def schemas(session):
    text = session.get_schema("quorin-intrusion-prevention").data
    assert text.startswith("module quorin-intrusion-prevention {"), text[:80]
    expect_error("invalid-value", session.get_schema, "none")


def main():
    logins()
    with with_key() as session:
        for capability in (":candidate", ":confirmed-commit", ":xpath", ":startup", ":validate", ":with-defaults"):
            assert capability in session.server_capabilities, capability
        edits(session)
        copies(session)
        errors(session)
        locks(session)
        schemas(session)
        notifications()
        session.dispatch(to_ele(f'<discard-changes xmlns="{BASE}"/>'))
    print("done")


main()
