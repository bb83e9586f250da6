"""Where measurements take place: the built programs, the loopback servers, a folder for files."""
import contextlib
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
KIB, MIB, GIB = 1 << 10, 1 << 20, 1 << 30


def build(preset, jobs, *more):
    """Builds the benchmark programs below build/PRESET, and returns that folder. `jobs` are those of install-dependencies,
    `more` arguments of cmake."""
    folder = ROOT / "build" / preset
    for command in ([ROOT / "scripts/install-dependencies", *jobs],
                    ["cmake", "--preset", preset, "-DZOL_BUILD_BENCHMARKS=ON", *more],
                    ["cmake", "--build", folder, "--target", "benchmarks/all"]):
        subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    return folder


def build_all():
    return build("benchmark", ("build", "benchmark"), "-DZOL_BENCHMARK_PEERS=ON")


def build_own():
    """Without the programs that other libraries are needed for. It shares the tests' build."""
    return build("release", ("build", "test", "counts"), "-DZOL_BENCHMARK_PEERS=OFF")


@contextlib.contextmanager
def server(*command):
    """The port of a benchmark server, which ends when its standard input does."""
    process = subprocess.Popen(list(map(str, command)), stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        yield process.stdout.readline().decode().strip()
    finally:
        process.stdin.close()
        try:
            process.wait(10)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        process.stdout.close()


def make_certificate(folder):
    """A certificate of 127.0.0.1 that signs itself, and its key."""
    certificate, key = folder / "certificate.pem", folder / "key.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                    "-subj", "/CN=benchmark", "-addext", "subjectAltName=IP:127.0.0.1", "-days", "2",
                    "-keyout", key, "-out", certificate],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, timeout=60)
    return certificate, key


class Bench(contextlib.ExitStack):
    """The servers run, and the folder exists, as long as this context does."""

    def __init__(self, build_folder):
        super().__init__()
        self.build_folder = build_folder

    def __enter__(self):
        super().__enter__()
        with contextlib.ExitStack() as started:
            self.folder = Path(started.enter_context(tempfile.TemporaryDirectory(prefix="benchmark-")))
            certificate, key = make_certificate(self.folder)
            self.port = started.enter_context(server(self.program("benchmark_server")))
            self.tls_port = started.enter_context(server(self.program("benchmark_server"), certificate, key))
            self.trust = f"trust={certificate}"
            self.push(started.pop_all())
        return self

    def program(self, name):
        return self.build_folder / "bin" / name

    def fetch(self, program, target, count, *words):
        return [self.program(f"fetch_{program}"), self.port, target, count, *words]

    def fetch_tls(self, program, target, count, *words):
        return [self.program(f"fetch_{program}"), self.tls_port, target, count, self.trust, *words]

    def upload(self, program, size, count, *file):
        return [self.program(f"upload_{program}"), self.port, size, count, *file]

    def file(self, name, contents):
        """The path of a file that `contents` makes the bytes of at its first use."""
        path = self.folder / name
        if not path.exists():
            path.write_bytes(contents())
        return path
