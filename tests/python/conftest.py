"""Settings for all Python tests."""

import os

import hypothesis
import pytest

import orvane
import orvanemultidimarrayforpython
from native_clients import built, client

# How long an example takes says more about the machine than about the code, and a failing run on
# one machine is to be repeatable on the next. Under the sanitizers everything takes longer.
examples = 30 if os.environ.get("ORVANE_SANITIZED") else 200
settings = {"deadline": None, "derandomize": True, "print_blob": True, "max_examples": examples}
hypothesis.settings.register_profile("orvane", **settings)
hypothesis.settings.load_profile("orvane")


def pytest_report_header(config: pytest.Config) -> str:
    return f"orvane {orvane.__version__}: {orvanemultidimarrayforpython.__file__}"


@pytest.fixture(scope="session")
def typed():
    """The client that tells what native code sees of arrays."""
    return client("typed_client")


@pytest.fixture(params=["pybind11_client", "nanobind_client"])
def bound(request):
    """Bound functions of either binding library."""
    return client(request.param)


@pytest.fixture(scope="session")
def spectral(tmp_path_factory):
    """The example that computes with LAPACK."""
    try:
        return built("spectral", "native_client", tmp_path_factory.mktemp("spectral"))
    except AssertionError as error:
        if "LAPACK was not found" in str(error):
            pytest.skip("LAPACK is not installed")
        raise
