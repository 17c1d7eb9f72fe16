import pytest

import zq


@pytest.fixture
def sim():
    with zq.Simulator("ZQ41-B-1.0") as s:
        yield s


@pytest.fixture
def arm(sim):
    with zq.Arm("127.0.0.1", sim.port) as a:
        yield a
