import pathlib
import re

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"


def test_the_readmes_python_example_runs_as_written(tmp_path, monkeypatch, capsys):
    section = README.read_text().split("## Python\n", 1)[1]
    example = re.search(r"```python\n(.*?)```", section, re.S).group(1)
    monkeypatch.chdir(tmp_path)
    exec(compile(example, "README.md", "exec"), {})
    out = capsys.readouterr().out
    assert "[1. 1. 1.]" in out and "patch.ply byte 0 expected a scene file" in out
