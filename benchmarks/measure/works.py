"""The works whose instructions are counted: one list for the comparison with others and for the check of our own."""
import random
from collections.abc import Callable
from dataclasses import dataclass

from .bench import KIB, MIB
from .row import BARE, BEAST, CURL, GMIME, OURS, POCO, Target


@dataclass(frozen=True)
class Work:
    """`commands` maps names to functions of a bench and an amount that return a command. Counted is what a unit costs
    between the two `amounts`; an amount is `units` of what the row tells about. `checked` are the amounts between which
    --check counts, None for a work that it leaves out."""
    name: str
    text: str
    target: Target
    commands: dict[str, Callable]
    amounts: tuple[int, int]
    checked: tuple[int, int] | None = None
    units: float = 1


def pages(program, target="/small", *words):
    """An amount of fetches."""
    return lambda at, count: at.fetch(program, target, count, *words)


def tls_pages(program):
    return lambda at, count: at.fetch_tls(program, "/small", count)


def body(program, target, *words):
    """One fetch of an amount of bytes, or of header lines."""
    return lambda at, amount: at.fetch(program, target.format(amount), 1, *words)


def tls_body(program, *words):
    return lambda at, size: at.fetch_tls(program, f"/identity/{size}", 1, *words)


LINE_FETCHES = 100


def response_lines(program):
    return lambda at, lines: at.fetch(program, f"/headers/{lines}", LINE_FETCHES)


def request_lines(program):
    return lambda at, lines: at.fetch(program, "/small", LINE_FETCHES, f"lines={lines}")


# So many that a byte's share of the connection is small.
UPLOAD = 16 * MIB


def upload(program):
    """An amount of uploads from memory."""
    return lambda at, count: at.upload(program, UPLOAD, count)


def file_upload(program):
    """An amount of uploads of a file."""
    return lambda at, count: at.upload(program, UPLOAD, count, at.file("upload", lambda: bytes(UPLOAD)))


def fetched_by(build):
    """The same work by everybody that fetches."""
    return {OURS: build("zol"), BARE: build("floor"), BEAST: build("beast"), CURL: build("curl")}


def body_fetched_by(target):
    return {OURS: body("zol", target), BARE: body("floor", target), BEAST: body("beast", target),
            CURL: body("curl", target, "large")}


PAGES, BODY = (100, 300), (16 * MIB, 80 * MIB)
# Where little is done for each byte, much has to come for the number of reads to be nearly the same each time.
CHECKED_BODY, CHECKED_LARGE_BODY, CHECKED_TLS_BODY = (MIB // 2, 2 * MIB), (8 * MIB, 72 * MIB), (MIB // 2, MIB)

PAGE = "one small page (128 bytes, 5 header lines)"
SMALL_PAGES = (
    Work("page", f"{PAGE}, getPage, a connection each", Target(10_000), fetched_by(pages), PAGES, (40, 80)),
    Work("page-exchange", "the same through exchange", Target(11_500), {OURS: pages("exchange")}, PAGES, (40, 80)),
    Work("page-kept", "the same over a connection that is kept", Target(6_000, {BEAST: 1, CURL: 1}),
         {OURS: pages("exchange", "/kept", "kept"), BARE: pages("floor", "/kept", "kept"),
          BEAST: pages("beast", "/kept", "kept"), CURL: pages("curl", "/kept", "kept")}, PAGES, (40, 80)),
)

LINES = (
    Work("response-line", "a line of the response's head (100 of them), getPage", Target(1_400),
         fetched_by(response_lines), (5, 105), (5, 55), LINE_FETCHES),
    Work("response-line-exchange", "the same through exchange", Target(1_400),
         {OURS: response_lines("exchange")}, (5, 105), (5, 55), LINE_FETCHES),
    Work("request-line", "a line of the request's head (20 of them), built and sent, getPage", Target(900),
         fetched_by(request_lines), (0, 20), (0, 20), LINE_FETCHES),
    Work("request-line-exchange", "the same through exchange", Target(),
         {OURS: request_lines("exchange")}, (0, 20), (0, 20), LINE_FETCHES),
)


def bodies():
    for name, text, target, limit, checked in (
            ("identity", "identity body", "/identity/{}", 0.005, CHECKED_LARGE_BODY),
            ("chunked-16k", "chunked body, chunks of 16 KiB", "/chunked/16384/{}", 0.02, CHECKED_LARGE_BODY),
            ("chunked-512", "chunked body, chunks of 512 bytes", "/chunked/512/{}", 0.40, CHECKED_BODY)):
        yield Work(name, f"{text}, getData of 64 KiB", Target(limit), body_fetched_by(target), BODY, checked)
        yield Work(f"{name}-exchange", "the same through exchange", Target(limit),
                   {OURS: body("exchange", target)}, BODY, checked)
    for name, text, target, limit in (("identity", "identity body", "/identity/{}", 0.01),
                                      ("chunked-16k", "chunked body, chunks of 16 KiB", "/chunked/16384/{}", 0.05)):
        yield Work(f"{name}-stream", f"{text}, MIMEContentIStream, reads of 64 KiB", Target(limit),
                   {OURS: body("zol", target, "stream")}, BODY, CHECKED_LARGE_BODY)


BODIES = tuple(bodies())

UPLOADS = tuple(
    Work(name, text, Target(limit), {OURS: build("zol"), BARE: build("floor"), CURL: build("curl")}, (1, 9), (1, 3), UPLOAD)
    for name, text, limit, build in (("upload-memory", "upload from memory", 0.01, upload),
                                     ("upload-file", "upload from a file", 0.015, file_upload)))

TLS = (
    Work("tls-byte", "a byte of an identity body, getPage", Target(times={BARE: 1.01}),
         {OURS: tls_body("zol"), BARE: tls_body("openssl"), CURL: tls_body("curl", "large")}, BODY, CHECKED_TLS_BODY),
    Work("tls-byte-exchange", "the same through exchange", Target(times={BARE: 1.01}),
         {OURS: tls_body("exchange"), BARE: tls_body("openssl")}, BODY, CHECKED_TLS_BODY),
    Work("tls-page", f"{PAGE}, getPage, a connection and a handshake each", Target(times={BARE: 1.01}),
         {OURS: tls_pages("zol"), BARE: tls_pages("openssl"), CURL: tls_pages("curl")}, (10, 60), (2, 10)),
    Work("tls-page-exchange", "the same through exchange", Target(times={BARE: 1.01}),
         {OURS: tls_pages("exchange"), BARE: tls_pages("openssl")}, (10, 60), (2, 10)),
)

BOUNDARY = b"=_a_boundary_of_thirty_bytes_x"
PROSE = b"The quick brown fox jumps over the lazy dog, and the dog does not mind at all.\r\n"


def repeated(unit, size):
    return (unit * (size // len(unit) + 1))[:size]


def near_misses():
    """The boundary again and again, each time with one byte that is wrong."""
    generator = random.Random(1)
    misses = []
    for _ in range(4096):
        at = generator.randrange(len(BOUNDARY))
        misses.append(BOUNDARY[:at] + b"#" + BOUNDARY[at + 1:])
    return b"".join(misses)


def search(method, kind, unit):
    """A file of an amount of bytes of that kind, made of what `unit` returns."""
    return lambda at, size: [at.program("search"), method,
                             at.file(f"{kind}-{size}", lambda: repeated(unit(), size)), BOUNDARY.decode()]


SEARCHES = tuple(
    Work(f"search-{kind}", text, Target(limit),
         {OURS: search("zol", kind, unit), "memmem": search("memmem", kind, unit), "istream::get": search("get", kind, unit)},
         (4 * MIB, 20 * MIB), (MIB // 4, MIB))
    for kind, text, limit, unit in (("text", "text", 0.8, lambda: PROSE),
                                    ("random", "random bytes", 0.8, lambda: random.Random(1).randbytes(MIB)),
                                    ("near-misses", "near-misses of the boundary", 3, near_misses)))


def parts_body(part_size, parts):
    part = b"--" + BOUNDARY + b"\r\ncontent-type: application/octet-stream\r\n\r\n" + repeated(PROSE, part_size) + b"\r\n"
    return part * parts + b"--" + BOUNDARY + b"--\r\n"


def message(part_size, parts):
    return b'Content-Type: multipart/mixed; boundary="' + BOUNDARY + b'"\r\n\r\n' + parts_body(part_size, parts)


def parse(program, part_size):
    """An amount of parts in one body, parsed as often as another argument says."""
    def command(at, parts, *rounds):
        bare = at.file(f"parts-{part_size}-{parts}", lambda: parts_body(part_size, parts))
        if program == "gmime":
            bare = at.file(f"message-{part_size}-{parts}", lambda: message(part_size, parts))
        boundary = [BOUNDARY.decode()] if program in ("zol", "exchange", "poco") else []
        return [at.program(f"multipart_read_{program}"), bare, *boundary, *rounds]
    return command


def parsed_by(part_size):
    return {OURS: parse("zol", part_size), POCO: parse("poco", part_size), GMIME: parse("gmime", part_size)}


def write(at, parts):
    return [at.program("multipart_write"), MIB, parts]


def parsing(name, text, part_size, limits, amounts, checked, units):
    """A multipart body split into contents in memory, and read part after part."""
    yield Work(name, text, Target(limits[0]), parsed_by(part_size), amounts, checked, units)
    yield Work(f"{name}-reader", "the same through MultipartReader", Target(limits[1]),
               {OURS: parse("exchange", part_size)}, amounts, checked, units)


MULTIPART_BYTES = (
    *parsing("parts-1m", "a byte of parts of 1 MiB", MIB, (1.5, 1.2), (8, 64), (1, 5), MIB),
    *parsing("parts-4k", "a byte of parts of 4 KiB", 4 * KIB, (3, None), (2048, 16384), (128, 640), 4 * KIB),
    Work("parts-write", "a byte of parts of 1 MiB written, getData of 64 KiB", Target(0.05, once=True), {OURS: write}, (8, 64),
         (2, 18), MIB),
)
MULTIPART_PARTS = tuple(
    parsing("parts-64", "a part of 64 bytes", 64, (3_500, None), (1000, 10_000), (100, 500), 1))

WORKS = (*SMALL_PAGES, *LINES, *BODIES, *UPLOADS, *TLS, *SEARCHES, *MULTIPART_BYTES, *MULTIPART_PARTS)
