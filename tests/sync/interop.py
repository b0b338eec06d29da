#!/usr/bin/python3
"""Two other CalDAV clients from Debian meet Tavik's tasks on a server: python3-caldav, and
todoman on a folder that vdirsyncer keeps in step with the server.

  interop.py URL USER PASSWORD WORKDIR read     checks what Tavik wrote, then edits there
  interop.py URL USER PASSWORD WORKDIR kept     checks that those edits survived Tavik's
"""
import json
import os
import subprocess
import sys

import caldav

url, user, password, work, step = sys.argv[1:6]
calendars = caldav.DAVClient(url, username=user, password=password).principal().calendars()


def todos():
    """Every task on the server as {summary: (list, component)}."""
    found = {}
    for calendar in calendars:
        for todo in calendar.todos(include_completed=True):
            component = todo.icalendar_component
            found[str(component["SUMMARY"])] = (calendar.name, component, todo)
    return found


def run(*command, stdin=None):
    env = dict(os.environ, HOME=work, XDG_CONFIG_HOME=work, XDG_CACHE_HOME=work)
    done = subprocess.run(command, input=stdin, env=env, capture_output=True, text=True)
    assert done.returncode == 0, f"{command}: {done.stderr}"
    return done.stdout


if step == "read":
    tasks = todos()
    home, milk, milk_todo = tasks["Buy milk"]
    assert home == "Home", home
    assert milk["DUE"].dt.isoformat() == "2024-06-12", milk["DUE"].dt
    assert milk.get("STATUS") != "COMPLETED"
    assert str(milk.walk("VALARM")[0]["TRIGGER"].dt) == "2024-06-12 10:00:00+00:00"
    assert str(tasks["Pay rent"][1]["STATUS"]) == "COMPLETED"
    # python3-caldav renames Tavik's task and adds a property only it knows.
    milk["SUMMARY"] = "Buy oat milk"
    milk["X-OTHER-CLIENT"] = "kept"
    milk_todo.save()

    # todoman, through vdirsyncer: sees the renamed task in its list, completes it, adds one.
    with open(os.path.join(work, "vdirsyncer"), "w") as config:
        config.write(f'[general]\nstatus_path = "{work}/status/"\n[pair tavik]\na = "local"\n'
                     f'b = "server"\ncollections = ["from b"]\nmetadata = ["displayname"]\n'
                     f'[storage local]\ntype = "filesystem"\npath = "{work}/calendars/"\n'
                     f'fileext = ".ics"\n[storage server]\ntype = "caldav"\nurl = "{url}"\n'
                     f'username = "{user}"\npassword = "{password}"\n')
    with open(os.path.join(work, "todoman.py"), "w") as config:
        config.write(f'path = "{work}/calendars/*"\ndate_format = "%Y-%m-%d"\n'
                     'time_format = "%H:%M"\ndefault_list = "Home"\n')
    vdirsyncer = ["vdirsyncer", "-c", os.path.join(work, "vdirsyncer")]
    todoman = ["todoman", "--config", os.path.join(work, "todoman.py")]
    run(*vdirsyncer, "discover", stdin="y\n" * 10)
    run(*vdirsyncer, "metasync")
    run(*vdirsyncer, "sync")
    listed = {t["summary"]: t for t in json.loads(run(*todoman, "--porcelain", "list"))}
    assert listed["Buy oat milk"]["list"] == "Home", listed
    run(*todoman, "done", str(listed["Buy oat milk"]["id"]))
    run(*todoman, "new", "-l", "Home", "--due", "2024-06-20", "Call mum")
    run(*vdirsyncer, "sync")
elif step == "kept":
    _, milk, _ = todos()["Buy oat milk"]
    assert str(milk["X-OTHER-CLIENT"]) == "kept", milk.to_ical()
    assert str(milk["DESCRIPTION"]) == "Full fat", milk.to_ical()
    assert str(milk["STATUS"]) == "COMPLETED"
