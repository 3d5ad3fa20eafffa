"""A first profile by ncclient: reads, edits the candidate, commits, reads again.

    first_profile.py PORT USER KEY_FILE [HOST]
"""

import sys

from ncclient import manager

PORT, USER, KEY = int(sys.argv[1]), sys.argv[2], sys.argv[3]
HOST = sys.argv[4] if len(sys.argv) > 4 else "127.0.0.1"

IPS = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"
BASE = "urn:ietf:params:xml:ns:netconf:base:1.0"
PROFILE = f"""
<config xmlns="{BASE}">
  <ips-config xmlns="{IPS}">
    <user-defined-ips>
      <vsys>
        <name>branch</name>
        <profiles>
          <profile>
            <name>web</name>
            <description>web servers</description>
          </profile>
        </profiles>
      </vsys>
    </user-defined-ips>
  </ips-config>
</config>"""

# The guide's server is one's own; elsewhere leave hostkey_verify on, and the server's key in ~/.ssh/known_hosts.
with manager.connect(host=HOST, port=PORT, username=USER, key_filename=KEY, hostkey_verify=False, allow_agent=False,
                     look_for_keys=False) as session:
    print("session", session.session_id)
    running = ("subtree", f'<ips-config xmlns="{IPS}"/>')
    print("before:", session.get_config("running", filter=running).data_xml)
    with session.locked("candidate"):
        print("edit-config:", session.edit_config(target="candidate", config=PROFILE).ok)
        print("validate:", session.validate("candidate").ok)
        print("commit:", session.commit().ok)
    print("after:", session.get_config("running", filter=running).data_xml)
