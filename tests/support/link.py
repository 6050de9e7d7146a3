"""Two hosts on one cable: threads of this process in network namespaces of their own."""

import contextlib
import ctypes
import subprocess
import threading
from concurrent.futures import ThreadPoolExecutor

import pytest

HERE, THERE = "10.0.0.1", "10.0.0.2"
NEW_NAMESPACE = 0x40000000  # CLONE_NEWNET, see unshare(2)


def ip(words):
    subprocess.run(["ip", *words.split()], check=True)


def host():
    """An executor whose thread, and whatever that starts, is alone in a new namespace."""
    made = ThreadPoolExecutor(1)
    if made.submit(ctypes.CDLL(None).unshare, NEW_NAMESPACE).result() != 0:
        pytest.skip("this system lets nobody make network namespaces")
    return made


@contextlib.contextmanager
def cable():
    """Yields both hosts and a function that pulls the cable."""
    with host() as here, host() as there:
        peer = there.submit(threading.get_native_id).result()
        here.submit(ip, f"link add name here type veth peer name there netns {peer}").result()
        for end, name, address in ((here, "here", HERE), (there, "there", THERE)):
            end.submit(ip, f"address add {address}/24 dev {name}").result()
            end.submit(ip, f"link set {name} up").result()
        yield here, there, lambda: there.submit(ip, "link set there down").result()
