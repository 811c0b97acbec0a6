#!/usr/bin/env python3
"""Fault sample: how many deliberate one-line slips does the test suite catch?

Each fault in FAULTS replaces one exact fragment of one source file. For every fault the
script plants it, rebuilds, runs the tests (those of the fault's own folder first) and
records CAUGHT (a test fails or times out), MISSED (every test passes) or NOBUILD. The file
is always put back, also on Ctrl-C. The build goes to its own directory with shared
libraries, so that a fault recompiles one file and relinks one library.

    tools/faults.py --out faults.txt            # every fault
    tools/faults.py --only 7 --only "sector"    # by index or by a part of the label
    tools/faults.py --list                      # the table and whether each fault applies
"""

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

# (file, original fragment, replacement, label). The fragment must occur exactly once.
FAULTS = [
    # core/
    ("core/RecordStatistics.cpp", "if (!f[i] || !std::isfinite(v[i])) continue;",
     "if (!std::isfinite(v[i])) continue;",
     "record statistics count invalid pixels (validity check dropped)"),
    ("core/RecordStatistics.cpp", "std::sqrt(m2 / double(count))",
     "std::sqrt(m2 / double(count - 1))",
     "record standard deviation divides by n - 1 instead of n"),
    ("core/TDData0.cpp", "mn[k] = (nonZero && x < mn[k]) ? x : mn[k];",
     "mn[k] = (x < mn[k]) ? x : mn[k];",
     "widenStatistics: minimum without zeros lets zeros in"),
    ("core/TDData0.cpp", "for (int y = y0; y <= y1; ++y) {",
     "for (int y = y0; y < y1; ++y) {",
     "copyRect skips the last row (<= to <)"),
    ("core/TDData0.cpp", "relative ? qsizetype(y - y0) * dest->m_width",
     "relative ? qsizetype(y - y0) * m_width",
     "copyRect relative copy uses the source row stride"),
    ("core/TDDataHeader.cpp", "header.width < 0 || header.height < 0 ||",
     "header.width < 0 ||",
     "2dData header: negative height no longer refused"),
    ("core/TDDataHeader.cpp", "arg(number(range.low))", "arg(number(range.high))",
     "2dData header writes the high end as MIN_VAL"),
    # io/
    ("io/HpkImgReader.cpp", "return number * 0.001;", "return number * 1000.0;",
     "HPK exposure time: microseconds scaled the wrong way"),
    ("io/HpkImgReader.cpp", "qint64(width) * height * elementBytes > file.size()",
     "qint64(width) * height > file.size()",
     "HPK file-size check ignores the bytes per pixel"),
    ("io/KwnbCtReader.cpp", "if (values[1] < values[0] || values[3] < values[2]) {",
     "if (values[1] <= values[0] || values[3] < values[2]) {",
     "KWNB CT header: one-column range refused (< to <=)"),
    ("io/KwnbCtReader.cpp", "row[x] = v < 0.0 ? 0.0f : ImgFile::narrowed(v);",
     "row[x] = ImgFile::narrowed(v);",
     "KWNB CT: negative values no longer clamped to 0"),
    ("io/KwnbCtReader.cpp", "const qint64 w = range.x1 - range.x0 + 1;",
     "const qint64 w = range.x1 - range.x0;",
     "KWNB CT: width one short of the inclusive range"),
    ("io/TextMatrixReader.cpp", "width = headerNumber(line) - 1;", "width = headerNumber(line);",
     "text matrix: X-NUM taken as the width without the -1"),
    ("io/SizeTableReader.cpp", "if (!ok || x >= w) {", "if (!ok || x > w) {",
     "size table: one value too many per row accepted (>= to >)"),
    ("io/TiffReader.cpp", "convertRow<int8_t>(in, img.row<float>(y), w);",
     "convertRow<uint8_t>(in, img.row<float>(y), w);",
     "TIFF signed 8-bit samples read as unsigned"),
    ("io/ImgFile.cpp", "std::min<qint64>(cx + halfWidthX, qint64(m_width) - 1);",
     "std::min<qint64>(cx + halfWidthX, qint64(m_width));",
     "sumAround: column end clamped one past the right edge"),
    # display/
    ("display/ColorBar0.cpp", "set(i, 255, i - 255, 0);", "set(i, 255, i - 256, 0);",
     "colour ramp: the green part starts one entry late"),
    ("display/ColorBar0.cpp", "return valid ? qMin(int(t * 256.0), 255) : 256;",
     "return valid ? qMin(int(t * 255.0), 255) : 256;",
     "grey entry of a fraction scaled by 255 instead of 256"),
    ("display/ColorBar0.cpp", "return palette[((n % size) + size) % size];",
     "return palette[n % size];",
     "marker palette: negative numbers index before the start"),
    ("display/ColorBar0.cpp", "putEntry<Format>(dst, i, ok[i] ? e : kInvalid, ramp, grey);",
     "putEntry<Format>(dst, i, e, ramp, grey);",
     "image colouring: invalid pixels coloured (fast-path validity dropped)"),
    ("display/ColorBar0.cpp",
     "return int(std::ceil(double(bytesPerPixel(format)) * width * 0.25) * 4);",
     "return int(double(bytesPerPixel(format)) * width * 0.25) * 4;",
     "picture row length rounded down instead of up to 4 bytes"),
    ("display/ImgDisp.cpp", "const double y0 = std::min(m_startDY, m_endDY);",
     "const double y0 = m_startDY;",
     "drawn region not normalised in y (dragging upwards)"),
    ("display/ImgDisp.cpp", "if (r.width() < 1 || r.height() < 1) {",
     "if (r.width() < 1 && r.height() < 1) {",
     "empty-region guard || to && (a one-row drag becomes a region)"),
    # proc/
    ("proc/AdaptiveThresholdF.cpp", "const bool above = m[i] < v[i];",
     "const bool above = m[i] <= v[i];",
     "adaptive threshold: a pixel equal to its mean counts as above (< to <=)"),
    ("proc/AdaptiveThresholdF.cpp", "if (!f[i]) continue;", "(void)f;",
     "adaptive threshold: invalid pixels thresholded (validity check dropped)"),
    ("proc/PeakSearch.cpp", "if (!valid[row + x]) continue;", "(void)valid;",
     "extreme search: invalid pixels considered (validity check dropped)"),
    ("proc/PeakSearch.cpp", "return dx * dx + dy2 < r2;", "return dx * dx + dy2 <= r2;",
     "peak exclusion disc includes its rim (< to <=)"),
    ("proc/PeakSearch.cpp", "const int y1 = std::min(y0 + kTileH - 1, m_rect.bottom());",
     "const int y1 = std::min(y0 + kTileH - 2, m_rect.bottom());",
     "peak tiles skip their last row (bound one short)"),
    ("proc/ImageCalc.cpp", "bool good = ok[i] && d != 0.0;", "bool good = ok[i];",
     "image calc: zero denominator no longer invalid"),
    ("proc/Resampler.cpp", "std::clamp((o + 0.5) * scale - 0.5,", "std::clamp(o * scale,",
     "linear resampling: corner-aligned instead of centre-aligned taps"),
    ("proc/RgbComposite.cpp", "const int shift = 16 - 8 * c;", "const int shift = 8 * c;",
     "RGB composite: red and blue channels swapped"),
    ("proc/MatchingF.cpp", "1.0 - std::acos(c) / kPi : c;", "std::acos(c) / kPi : c;",
     "pattern matching angle mode: 1 - acos/pi loses the 1 -"),
    ("proc/CalcFormula.cpp", "if (num != QLatin1String(\".\")) c = sign * num.toDouble();",
     "if (num != QLatin1String(\".\")) c = num.toDouble();",
     "calc formula: a coefficient loses its sign"),
    # relation/
    ("relation/RelationHistogram.cpp", "const double hi = kN + e;",
     "const double hi = kN + e + 1;",
     "relation count grid upper bound one bin too far"),
    ("relation/RelationHistogram.cpp", "const int c = int(in ? m1 : 0.0) + e;",
     "const int c = int(in ? m2 : 0.0) + e;",
     "relation count grid: column taken from S2 (arguments swapped)"),
    ("relation/RelationHistogram.cpp",
     "w[size_t(d + h)] = std::exp(k * double(d) * double(d));",
     "w[size_t(d + h)] = std::exp(k * double(d));",
     "relation kernel weight exp(k d) instead of exp(k d^2)"),
    ("relation/RelationSelection.cpp", "return s1 >= m_a && s1 <= m_c && s2 >= m_b && s2 <= m_d;",
     "return s1 >= m_a && s1 <= m_c && s2 >= m_b && s2 < m_d;",
     "square selection excludes its top edge (<= to <)"),
    ("relation/RelationSelection.cpp", "if (s1 == 0.0 && s2 == 0.0) return false;", "",
     "sector selection: the origin no longer excluded"),
    ("relation/RelationSelection.cpp", "s1.isValid(x, y) && s2.isValid(x, y) && contains(",
     "s1.isValid(x, y) && contains(",
     "selection marks ignore S2 validity"),
    ("relation/RelationHistogram.cpp", "if (!(v1 > low1 || v2 > low2)) return;",
     "if (!(v1 > low1 && v2 > low2)) return;",
     "scatter map: || to && in the above-the-floor test"),
    # xafs/
    ("xafs/LcfEngine.cpp", "const bool fractionValid = total > 0.0;",
     "const bool fractionValid = total >= 0.0;",
     "LCF fractions valid for a zero total (> to >=)"),
    ("xafs/LcfEngine.cpp", "out.residual[i] = residualValid ? res / mm : 0.0;",
     "out.residual[i] = residualValid ? res : 0.0;",
     "LCF residual not normalised by mu^T mu"),
    ("xafs/LcfEngine.cpp", "ok[p] &= f[p];", "(void)f;",
     "LCF map ignores invalid pixels of the stack (validity dropped)"),
    ("xafs/Spectrum.cpp", "if (i - h >= 0) {", "if (i - h > 0) {",
     "spectrum smoothing window drops its first point late (>= to >)"),
    ("xafs/Spectrum.cpp",
     "return lineAt(x(n - 2), yAt(n - 2), x(n - 1), yAt(n - 1), e);",
     "return lineAt(x(n - 2), yAt(n - 1), x(n - 1), yAt(n - 2), e);",
     "spectrum extrapolation above the end: y values swapped"),
    ("xafs/LuSolver.cpp", "if (v > bestAbs) {", "if (v < bestAbs) {",
     "LU pivot picks the smallest instead of the largest"),
    ("xafs/VictLine.cpp", "if (e >= m_from && e < m_to) {", "if (e >= m_from && e <= m_to) {",
     "straight pre/post-edge line residual window closed at the top"),
    ("xafs/LcfModel.cpp", "if (offset) constrained[size_t(r)] = false;", "",
     "LCF offset constrained to be non-negative"),
    # tools/zelmap-cli/
    ("tools/zelmap-cli/CliOptions.cpp", "if (i + n >= args.size()) {", "if (i + n > args.size()) {",
     "CLI options: missing value at the end not detected (>= to >)"),
    ("tools/zelmap-cli/CliOptions.cpp", "m_given[a] += args.mid(i + 1, n);",
     "m_given.insert(a, args.mid(i + 1, n));",
     "CLI repeatable option keeps only its last value"),
    ("tools/zelmap-cli/CliRender.cpp", "bar.setMarkers(markers[0], markers[1]);",
     "bar.setMarkers(markers[1], markers[0]);",
     "render --markers: lower and upper swapped"),
    ("tools/zelmap-cli/CliRelation.cpp", "sector[1] / 180.0 * std::numbers::pi * 0.5",
     "sector[1] / 180.0 * std::numbers::pi",
     "relation --sector: width taken as the half angle"),
    ("tools/zelmap-cli/CliRelation.cpp",
     "if (s1.width() != s2.width() || s1.height() != s2.height()) {",
     "if (s1.width() != s2.width()) {",
     "relation: images of different heights accepted"),
    ("tools/zelmap-cli/CliCopy.cpp",
     "QRect(QPoint(rect[0], rect[1]), QPoint(rect[2], rect[3]))",
     "QRect(rect[0], rect[1], rect[2], rect[3])",
     "copy --rect L T R B read as x, y, width, height"),
    ("tools/zelmap-cli/CliLcf.cpp", "text.mid(at + 1).toDouble(&ok)", "text.mid(at).toDouble(&ok)",
     "lcf --ref FILE@dE: the shift is never read"),
    # data/
    ("data/DataCtrls.cpp", "if (i < 0 || i >= m_entries.size() || seen[i]) return;",
     "if (i < 0 || i >= m_entries.size()) return;",
     "data list reorder accepts a repeated index"),
    ("data/DataCtrl.cpp", "m_noticed.x() < m_record->width() &&",
     "m_noticed.x() <= m_record->width() &&",
     "noticed-pixel mark drawn one column past the edge (< to <=)"),
    # app/
    ("app/ConfigStore.cpp", "else if (c == QLatin1Char('#') && !quoted)",
     "else if (c == QLatin1Char('#'))",
     "configuration: a # inside quotes starts a comment"),
    ("app/ConfigStore.cpp", "return !(second.isNumber() || second == QLatin1Char('.'));",
     "return !second.isNumber();",
     "command line: a value like -.5 taken as an option"),
    ("app/Startup.cpp", "for (qsizetype i = 1; i < arguments.size(); ++i) {",
     "for (qsizetype i = 0; i < arguments.size(); ++i) {",
     "files to open include the program name (index from 0)"),
]

ROOT = Path(__file__).resolve().parent.parent


def folder_of(path):
    return "tools" if path.startswith("tools/") else path.split("/", 1)[0]


def tests_of(folder):
    return sorted(p.stem for p in (ROOT / "tests" / folder).glob("tst_*.cpp"))


class Runner:
    def __init__(self, build_dir, jobs, log):
        self.build = build_dir
        self.jobs = jobs
        self.log = log
        self.suite_seconds = 60.0
        self.proc = None

    def run(self, cmd, limit=None):
        """Runs cmd in its own process group; returns (status, output, timed_out)."""
        with open(self.log, "a") as log:
            log.write("\n$ " + " ".join(cmd) + "\n")
            log.flush()
            self.proc = subprocess.Popen(cmd, cwd=ROOT, stdout=subprocess.PIPE,
                                         stderr=subprocess.STDOUT, text=True,
                                         start_new_session=True)
            try:
                out, _ = self.proc.communicate(timeout=limit)
                timed_out = False
            except subprocess.TimeoutExpired:
                self.kill()
                out, _ = self.proc.communicate()
                timed_out = True
            except BaseException:
                self.kill()
                raise
            status = self.proc.returncode
            self.proc = None
            log.write(out or "")
        return status, out or "", timed_out

    def kill(self):
        if self.proc and self.proc.poll() is None:
            try:
                os.killpg(self.proc.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass

    def configure(self):
        if (self.build / "CMakeCache.txt").exists():
            return True
        cmd = ["cmake", "-S", ".", "-B", str(self.build), "-G", "Ninja",
               "-DCMAKE_BUILD_TYPE=Release", "-DZELMAP_SHARED_LIBS=ON", "-DZELMAP_BENCH=OFF",
               "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
        if shutil.which("ccache"):
            cmd += ["-DCMAKE_C_COMPILER_LAUNCHER=ccache", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
        return self.run(cmd)[0] == 0

    def compile(self):
        return self.run(["cmake", "--build", str(self.build), "-j", str(self.jobs)])[0] == 0

    def ctest(self, select, limit):
        """Runs the selected tests; returns (passed, failing names, timed out)."""
        cmd = ["ctest", "--test-dir", str(self.build), "-j", str(self.jobs), "--timeout", "120",
               "--stop-on-failure"] + select
        status, out, timed_out = self.run(cmd, limit)
        failed = re.findall(r"^\s*\d+ - (\S+) \(", out, re.M)
        if timed_out:
            done = set(re.findall(r"Test\s+#\d+: (\S+) ", out))
            failed += [t + " (hangs)" for t in re.findall(r"Start\s+\d+: (\S+)", out)
                       if t not in done]
        if "No tests were found" in out:
            return True, [], False
        return status == 0 and not timed_out, failed, timed_out

    def suite(self, first):
        """The fault's own tests first, then the rest; stops at the first failure."""
        # The tests carry a long time limit of their own, so a hang is cut off here.
        limit = 120 + 3 * self.suite_seconds
        pattern = "^(" + "|".join(first) + ")$" if first else None
        if pattern:
            ok, failed, timed_out = self.ctest(["-R", pattern], limit)
            if not ok:
                return False, failed or (["(timeout)"] if timed_out else ["(ctest)"])
        ok, failed, timed_out = self.ctest(["-E", pattern] if pattern else [], limit)
        if not ok:
            return False, failed or (["(timeout)"] if timed_out else ["(ctest)"])
        return True, []


def interrupted(*_):
    raise KeyboardInterrupt


def git_clean(path):
    return subprocess.run(["git", "diff", "--quiet", "--", path], cwd=ROOT).returncode == 0


def select(faults, only):
    if not only:
        return list(enumerate(faults, 1))
    chosen = []
    for i, f in enumerate(faults, 1):
        for o in only:
            if (o.isdigit() and int(o) == i) or (not o.isdigit() and o.lower() in f[3].lower()):
                chosen.append((i, f))
                break
    return chosen


def write_results(out, rows, summary):
    if not out:
        return
    with open(out, "w") as f:
        f.write(table(rows) + "\n" + summary + "\n")


def table(rows):
    lines = ["%3s  %-8s  %-7s  %5s  %-34s  %s" % ("#", "folder", "result", "s", "file", "label")]
    for r in rows:
        lines.append("%3d  %-8s  %-7s  %5.0f  %-34s  %s%s" % (
            r["index"], r["folder"], r["result"], r["seconds"], r["file"], r["label"],
            ("  [" + ", ".join(r["tests"]) + "]") if r["tests"] else ""))
    return "\n".join(lines)


def summarize(rows, seconds):
    caught = sum(r["result"] == "CAUGHT" for r in rows)
    tested = sum(r["result"] in ("CAUGHT", "MISSED") for r in rows)
    other = [r for r in rows if r["result"] not in ("CAUGHT", "MISSED")]
    text = "caught %d of %d" % (caught, tested)
    if other:
        text += " (%d not run: %s)" % (len(other), ", ".join(
            "#%d %s" % (r["index"], r["result"]) for r in other))
    folders = {}
    for r in rows:
        c = folders.setdefault(r["folder"], [0, 0])
        c[1] += r["result"] in ("CAUGHT", "MISSED")
        c[0] += r["result"] == "CAUGHT"
    text += "\nper folder: " + ", ".join("%s %d/%d" % (k, v[0], v[1])
                                          for k, v in sorted(folders.items()))
    text += "\ntime: %.0f s" % seconds
    return text


def main():
    ap = argparse.ArgumentParser(description=__doc__,
                                 formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--only", action="append", default=[],
                    help="a fault's index or a part of its label (repeatable)")
    ap.add_argument("--out", help="write the result table to this file")
    ap.add_argument("--build-dir", default="build-faults")
    ap.add_argument("--jobs", type=int, default=2)
    ap.add_argument("--list", action="store_true", help="show the faults and whether they apply")
    args = ap.parse_args()

    chosen = select(FAULTS, args.only)
    if not chosen:
        sys.exit("faults.py: no fault matches --only")
    if args.list:
        for i, (path, old, new, label) in chosen:
            n = (ROOT / path).read_text().count(old) if (ROOT / path).exists() else 0
            print("%3d  %-6s  %-34s  %s" % (i, "ok" if n == 1 else "stale", path, label))
        return 0

    build = (ROOT / args.build_dir).resolve()
    build.mkdir(exist_ok=True)
    runner = Runner(build, args.jobs, build / "faults.log")
    # Ctrl-C and kill both end up in the finally blocks that put the files back.
    signal.signal(signal.SIGTERM, interrupted)
    signal.signal(signal.SIGINT, interrupted)

    dirty = sorted({p for _, (p, _, _, _) in chosen if not git_clean(p)})
    if dirty:
        sys.exit("faults.py: uncommitted changes in " + ", ".join(dirty))
    if not runner.configure() or not runner.compile():
        sys.exit("faults.py: the unchanged tree does not build; see %s" % runner.log)
    start = time.time()
    ok, failed = runner.suite([])
    runner.suite_seconds = time.time() - start
    if not ok:
        sys.exit("faults.py: the unchanged suite fails (%s); refusing to run" % ", ".join(failed))
    print("unchanged suite passes in %.0f s" % runner.suite_seconds, flush=True)

    rows = []
    begin = time.time()
    stopped = False
    try:
        for i, (path, old, new, label) in chosen:
            row = {"index": i, "folder": folder_of(path), "file": path, "label": label,
                   "tests": [], "seconds": 0.0}
            t0 = time.time()
            file = ROOT / path
            original = file.read_text()
            if original.count(old) != 1:
                row["result"] = "stale"
            else:
                try:
                    file.write_text(original.replace(old, new))
                    if not runner.compile():
                        row["result"] = "NOBUILD"
                    else:
                        passed, failing = runner.suite(tests_of(row["folder"]))
                        row["result"] = "MISSED" if passed else "CAUGHT"
                        row["tests"] = failing
                finally:
                    runner.kill()
                    file.write_text(original)
            row["seconds"] = time.time() - t0
            rows.append(row)
            print("%3d  %-7s  %4.0f s  %s" % (i, row["result"], row["seconds"], label),
                  flush=True)
            write_results(args.out, rows, summarize(rows, time.time() - begin))
    except KeyboardInterrupt:
        stopped = True
        print("interrupted; files restored", file=sys.stderr)
    finally:
        bad = sorted({p for _, (p, _, _, _) in chosen if not git_clean(p)})
        if bad:
            print("faults.py: NOT RESTORED: " + ", ".join(bad), file=sys.stderr)
    summary = summarize(rows, time.time() - begin)
    print(table(rows))
    print(summary)
    write_results(args.out, rows, summary)
    return 1 if bad else 130 if stopped else 0


if __name__ == "__main__":
    sys.exit(main())
