import pytest
from probes import Probes
from shells import SHELLS, Shell
from tool import sandbox


@pytest.fixture(scope="session")
def server():
    with sandbox() as options:
        yield options


@pytest.fixture(scope="session")
def probes(server):
    return Probes(server)


@pytest.fixture(scope="module", params=SHELLS)
def shell(request, tmp_path_factory):
    home = tmp_path_factory.mktemp("home")
    (home / "hosts").write_text("192.0.2.1 noc1.example\n")
    (home / ".ssh").mkdir()
    (home / ".ssh" / "known_hosts").write_text("noc1.example ssh-ed25519 AAAAC3NzaC1lZDI1NTE5\n")
    (home / "series of ping.csv").touch()
    with Shell(request.param, home) as shell:
        yield shell
