"""The documents as a site."""

import re
import shutil
import subprocess

from conftest import LIMIT_S, PROJECT

BROKEN = {"no file": "[x](nowhere.md)", "no heading here": "[x](#nowhere)",
          "no heading there": "[x](guides/tuning.md#nowhere)", "no manual page": "kelvarune-nowhere(1)"}


def test_the_site_is_whole_and_broken_links_are_found(tmp_path):
    for pattern in ("*.md", "docs", "script", "examples/*/README.md", "bench/README.md"):
        for path in PROJECT.glob(pattern):
            copy = tmp_path / path.relative_to(PROJECT)
            copy.parent.mkdir(parents=True, exist_ok=True)
            (shutil.copytree if path.is_dir() else shutil.copy)(path, copy)

    def site():
        return subprocess.run([tmp_path / "script/docs"], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=3 * LIMIT_S, check=False)

    made = site()
    assert (made.returncode, made.stdout) == (0, "")
    pages = {path.relative_to(tmp_path / "build/site").as_posix(): path.read_text()
             for path in tmp_path.glob("build/site/**/*.html")}
    assert 'href="kelvarune-mechanism.5.html">' in pages["docs/man/kelvarune.1.html"]
    assert pages["index.html"] == pages["README.html"]
    fetched = re.compile(r'(?:<(?:script|link|img)\b[^>]*(?:src|href)="|url\(|@import ")(?:https?:)?//')
    assert not any(map(fetched.search, pages.values()))

    page = tmp_path / "docs/reliability.md"
    page.write_text(page.read_text() + "\n\n" + "\n".join(BROKEN.values()) + "\n")
    refused = site()
    assert refused.returncode != 0
    assert len(re.findall("reliability.md.*nowhere", refused.stdout)) == len(BROKEN), refused.stdout
