"""Building a copy of the tree with a fault in it, and running the tests."""
import collections
import hashlib
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

# A fault in a header is compiled with several sources at a time; in these targets names of two sources would clash.
SEPARATE = "control status system_tests"
CHAIN = ["system_tests", "melvane", "ppsd", "ppsctl", "mcusim"]


class Tests:
    """The tests: their names, how long they take on the unchanged tree, how many faults each has noticed."""

    def __init__(self):
        self.seconds, self.kills, self.chain = {}, collections.Counter(), []

    def limit(self, line):
        """The seconds a program may take from this line on, and from its start."""
        if line is None:
            return 30
        found = re.match(r"\[ RUN      \] (\S+)", line)
        return 10 + 5 * self.seconds.get(found[1], 0) if found else None

    def in_order(self, folder):
        return sorted(self.chain, key=lambda test: -(self.kills[folder, test] + 0.2) / (self.seconds[test] + 0.05))


class Worker:
    """A copy of the tree, its build, and the tests run on it."""

    def __init__(self, root, directory, commands, tests):
        self.source, self.build, self.temporary = directory / "s", directory / "b", directory / "t"
        self.commands, self.tests = commands, tests
        self.temporary.mkdir(parents=True)
        self.env = {**os.environ, "TMPDIR": str(self.temporary), "CCACHE_BASEDIR": "/", "CCACHE_NOHASHDIR": "1"}
        names = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=root, check=True,
                               capture_output=True, text=True).stdout.split("\0")
        for name in names:
            if name and (root / name).is_file():
                (self.source / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(root / name, self.source / name)

    def run(self, *command, seconds=900):
        """Runs a command. True when it succeeds, and the last lines it writes."""
        return self.commands.run(command, self.temporary, self.env, lambda line: seconds if line is None else None)

    def need(self, *command):
        succeeded, lines = self.run(*command, seconds=3600)
        if not succeeded:
            raise RuntimeError("\n".join(["the unchanged tree fails: " + " ".join(map(str, command)), *lines]))

    def builds(self, *targets):
        return self.run("ninja", "-C", self.build, "-j1", *targets)[0]

    def prepare(self, jobs):
        separate = self.temporary.parent / "separate.cmake"
        separate.write_text(f"cmake_language(DEFER CALL set_target_properties {SEPARATE} PROPERTIES UNITY_BUILD OFF)\n")
        options = ["-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O0 -w", "-DTLG_BUILD_BENCHMARKS=OFF",
                   "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=12", f"-DCMAKE_PROJECT_INCLUDE={separate}"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        if shutil.which("ld.lld"):
            options += ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld"]
        self.need("cmake", "-G", "Ninja", "-S", self.source, "-B", self.build, *options)
        self.need("ninja", "-C", self.build, f"-j{jobs}")
        self.programs = {path.name: path for path in sorted((self.build / "bin").iterdir())}
        self.libraries = {name: re.findall(rf"({re.escape(str(self.build))}\S+)", subprocess.run(
            ["ldd", path], capture_output=True, text=True, check=True).stdout) for name, path in self.programs.items()}
        self.unchanged = {name: self.digest(name) for name in self.programs}

    def digest(self, name):
        content = [Path(path).read_bytes() for path in [self.programs[name], *self.libraries[name]]]
        return hashlib.sha1(b"".join(content)).digest()

    def is_changed(self, *names):
        return any(self.digest(name) != self.unchanged[name] for name in names)

    def learn(self):
        """Runs the unchanged tests."""
        report = self.temporary / "report.json"
        for name in ["unit_tests", "slog_tests", "system_tests"]:
            self.need(self.programs[name], f"--gtest_output=json:{report}")
            suites = json.loads(report.read_text())["testsuites"]
            seconds = {f"{suite['name']}.{test['name']}": float(test["time"].rstrip("s"))
                       for suite in suites for test in suite["testsuite"]}
            self.tests.seconds.update(seconds)
        self.tests.chain = list(seconds)
        for name in self.programs:
            if name.startswith("fuzz_"):
                self.need(self.programs[name], self.corpus(name))

    def google_test(self, name, *options):
        """The test that fails, or None."""
        command = [self.programs[name], "--gtest_fail_fast", *options]
        succeeded, lines = self.commands.run(command, self.temporary, self.env, self.tests.limit)
        if succeeded:
            return None
        named = re.findall(r"^\[  FAILED  \] (\w\S*?),? ", "\n".join(lines) + " ", re.M)
        begun = [line.split()[3] for line in lines if line.startswith("[ RUN ")]
        return named[0] if named else f"{begun[-1]}, which does not end well" if begun else name

    def corpus(self, fuzzer):
        return self.source / "fuzz/corpus" / fuzzer.replace("fuzz_", "", 1)

    def corpus_failure(self):
        """The fuzzer that fails on its corpus, or None."""
        for name in filter(self.is_changed, self.programs):
            if name.startswith("fuzz_") and not self.run(self.programs[name], self.corpus(name), seconds=10)[0]:
                return name
        return None

    def other_failure(self, folder):
        """What fails besides the unit tests, or None."""
        failed = self.corpus_failure()
        if not failed and self.is_changed("slog_tests"):
            failed = self.google_test("slog_tests")
        if failed or not self.is_changed(*CHAIN):
            return failed
        for test in self.tests.in_order(folder):
            if self.google_test("system_tests", f"--gtest_filter={test}"):
                self.tests.kills[folder, test] += 1
                return test
        return None

    def verdict(self, folder):
        """What becomes of the fault that the copy has, and the test that noticed it."""
        if not self.builds("unit_tests"):
            return "void", "does not compile"
        failed = self.google_test("unit_tests") if self.is_changed("unit_tests") else None
        if not failed:
            if not self.builds():
                return "void", "does not compile"
            if not self.is_changed(*self.programs):
                return "void", "changes nothing"
            failed = self.other_failure(folder)
        return ("killed", failed) if failed else ("survived", "")

    def examine(self, fault, folder):
        """Puts the fault in, and takes it out again."""
        path = self.source / fault.file
        text = path.read_text()
        path.write_text(text[:fault.begin] + fault.new + text[fault.end:])
        try:
            return self.verdict(folder)
        finally:
            path.write_text(text)
            for left in self.temporary.iterdir():  # a process that still ends may remove some of it itself
                shutil.rmtree(left, ignore_errors=True) if left.is_dir() else left.unlink(missing_ok=True)
