"""One browser for all tests of a file; a server for each."""

import os

import pytest

from browser import Browser, Server


@pytest.fixture(scope="session")
def browser():
    with Browser() as one:
        yield one


@pytest.fixture
def look(browser, request):
    """Starts a server with cameras and opens its page: look(cameras) -> (server, page)."""
    servers, pages = [], []

    def start(cameras=1, **options):
        server = Server(cameras, **options)
        servers.append(server)
        page = browser.open(server.address)
        pages.append(page)
        page.wait("document.body.dataset.ready", "the page is there")
        return server, page

    yield start
    problems = []
    for page in pages:
        page.screenshot(os.path.join(os.environ["TAVIX_SCREENSHOTS"], f"{request.node.name}.png"))
        problems += page.problems
        page.close()
    for server in servers:
        server.__exit__()
    assert problems == []
