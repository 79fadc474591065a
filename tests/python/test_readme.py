import pathlib
import re

README = pathlib.Path(__file__).resolve().parents[2] / "README.md"


def test_the_readmes_python_examples_run_as_written(tmp_path, monkeypatch, capsys):
    section = README.read_text().split("## Python\n", 1)[1].split("\n## ", 1)[0]
    examples = re.findall(r"```python\n(.*?)```", section, re.S)
    monkeypatch.chdir(tmp_path)
    names = {}
    for example in examples:
        exec(compile(example, "README.md", "exec"), names)
    out = capsys.readouterr().out
    assert "[1. 1. 1.]" in out and "patch.ply byte 0 expected a scene file" in out and "(240, 320, 4)" in out
