#!/usr/bin/python3
"""Listens at a datagram socket, as a journal, syslog or a service manager does, and keeps what comes.

usage: listen.py SOCKET FOLDER   each datagram becomes the file FOLDER/1, FOLDER/2 ...; SOCKET with "@" is an abstract one
       listen.py --full SOCKET   fills the socket's queue and holds it, reading nothing, until it is killed
"""
import os
import signal
import socket
import sys


def bind(name):
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    if name.startswith("@"):
        listener.bind("\0" + name[1:])
        return listener
    # An address holds 107 bytes, and folders of tests have longer names.
    here = os.getcwd()
    os.chdir(os.path.dirname(name))
    listener.bind(os.path.basename(name))
    os.chmod(os.path.basename(name), 0o666)
    os.chdir(here)
    return listener


def fill(name, keeper):
    writer = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    writer.setblocking(False)
    os.chdir(os.path.dirname(name))
    try:
        while True:
            writer.sendto(b"full", os.path.basename(name))
    except BlockingIOError:
        print("full", flush=True)
    while keeper.fileno() >= 0:
        signal.pause()


def keep(listener, folder):
    print("listening", flush=True)
    count = 0
    while True:
        datagram = listener.recv(1 << 20)
        count += 1
        # Whole as soon as it bears its name.
        with open(f"{folder}/.new", "wb") as file:
            file.write(datagram)
        os.rename(f"{folder}/.new", f"{folder}/{count}")


if sys.argv[1] == "--full":
    fill(sys.argv[2], bind(sys.argv[2]))
else:
    keep(bind(sys.argv[1]), sys.argv[2])
