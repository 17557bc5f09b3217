"""What programs cost, and on which machine."""
import collections
import datetime
import os
import pathlib
import platform
import random
import re
import statistics
import subprocess
import sys
import time

# Seconds of the processor (user and system) and of the clock.
Cost = collections.namedtuple('Cost', 'cpu clock')


def run(command, environment=None, accepted=(0,)):
    """Runs a program whose standard output nobody reads, and ends with it when it fails."""
    start = time.perf_counter()
    process = subprocess.Popen([str(c) for c in command], stdout=subprocess.DEVNULL,
                               env=dict(os.environ, **(environment or {})))
    _, status, used = os.wait4(process.pid, 0)
    clock = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode not in accepted:
        sys.exit(f'{" ".join(map(str, command))}: exit code {process.returncode}')
    return Cost(used.ru_utime + used.ru_stime, clock)


def peak_memory(command):
    """The most memory a program had, in bytes. What the system tells when it has ended (ru_maxrss)
    includes this process's own from before it became the program, so the program is watched."""
    most = 0
    with subprocess.Popen([str(c) for c in command], stdout=subprocess.DEVNULL) as process:
        while process.poll() is None:
            try:
                status = pathlib.Path(f'/proc/{process.pid}/status').read_text(encoding='ascii')
            except OSError:
                continue
            for mark in re.findall(r'^VmHWM:\s*(\d+) kB', status, re.M):
                most = int(mark) * 1024
            time.sleep(0.002)
    return most


def take_turns(contestants, rounds, warm_up=1):
    """{name: [Cost of each round]} of contestants {name: function that returns a Cost}.

    Each round has another order, so that nobody always follows the same one; it is the same in
    every run.
    """
    chance = random.Random(rounds)
    costs = {name: [] for name in contestants}
    for number in range(rounds + warm_up):
        for name in chance.sample(list(contestants), len(contestants)):
            cost = contestants[name]()
            if number >= warm_up:
                costs[name].append(cost)
    return costs


def median(costs, what='cpu'):
    return statistics.median(getattr(cost, what) for cost in costs)


def times(costs, others, what='cpu'):
    """How many times what others cost: the median over rounds, each compared with its own."""
    return statistics.median(getattr(a, what) / getattr(b, what) for a, b in zip(costs, others))


class Parvane:
    """The program under test; `runner` (such as wine) starts one that is not for this system."""

    def __init__(self, program, runner=None):
        self.command = [*(runner.split() if runner else ()), program]
        self.windows = str(program).endswith('.exe')

    def shown(self, argument):
        if self.windows and isinstance(argument, pathlib.Path):
            return 'Z:' + str(argument.resolve()).replace('/', '\\')
        return argument

    def call(self, *arguments):
        return [*self.command, *map(self.shown, arguments)]

    def run(self, *arguments, level=''):
        """`level` limits its instructions as PARVANE_CPU does."""
        return run(self.call(*arguments), {'PARVANE_CPU': level}, accepted=(0, 1))

    def convert(self, source, pst, *options, level=''):
        pst.unlink(missing_ok=True)
        return self.run('convert', '--quiet', *options, source, pst, level=level)

    def peak(self, source, pst, *options):
        pst.unlink(missing_ok=True)
        return peak_memory(self.call('convert', '--quiet', *options, source, pst))


def touch_memory(folder, size):
    """Has the system provide memory for `size` bytes of files. A virtual machine's first use of
    its memory is work of its host's, which would count for whoever comes first."""
    path = pathlib.Path(folder) / 'touched'
    piece = b'\1' * (1 << 20)
    with open(path, 'wb') as file:
        for _ in range(size >> 20):
            file.write(piece)
    path.unlink()


def processor():
    """(model, the set of its features)"""
    try:
        text = pathlib.Path('/proc/cpuinfo').read_text(encoding='utf-8')
    except OSError:
        return platform.processor() or platform.machine(), set()
    model = re.search(r'^model name\s*: (.*)$', text, re.M)
    features = re.search(r'^(?:flags|Features)\s*: (.*)$', text, re.M)
    return (model[1] if model else platform.machine()), set(features[1].split() if features else ())


def levels():
    """The levels of instructions to measure, {title: PARVANE_CPU}, best first."""
    _, features = processor()
    if 'avx512_vbmi2' in features or 'avx512vbmi' in features:
        return {'AVX-512': '', 'AVX2': 'avx2', 'plain': 'plain'}
    return {'AVX2' if 'avx2' in features else 'best': '', 'plain': 'plain'}


def first_line(*command, folder=None):
    try:
        done = subprocess.run([str(c) for c in command], capture_output=True, text=True,
                              cwd=folder, check=False)
        return done.stdout.split('\n')[0]
    except OSError:
        return ''


def compiler(build):
    """The compiler and kind of a CMake build folder."""
    try:
        cache = (pathlib.Path(build) / 'CMakeCache.txt').read_text(encoding='utf-8')
    except OSError:
        return ''
    value = dict(re.findall(r'^(CMAKE_CXX_COMPILER|CMAKE_BUILD_TYPE):\w+=(.*)$', cache, re.M))
    version = first_line(value.get('CMAKE_CXX_COMPILER', 'c++'), '--version')
    return f'{version}, {value.get("CMAKE_BUILD_TYPE", "")}'


def commit():
    folder = pathlib.Path(__file__).parent
    changed = '' if not first_line('git', 'status', '--porcelain', '-uno', folder=folder) else ' with changes'
    return (first_line('git', 'rev-parse', '--short=10', 'HEAD', folder=folder) or 'unknown') + changed


def machine(build=None):
    """What tells one run's figures from another's."""
    model, features = processor()
    return {'processor': model, 'cores': os.cpu_count(), 'virtual': 'hypervisor' in features,
            'memoryGiB': round(os.sysconf('SC_PAGE_SIZE') * os.sysconf('SC_PHYS_PAGES') / 2**30),
            'system': f'{platform.system()} {platform.release()}', 'load': round(os.getloadavg()[0], 2),
            'compiler': compiler(build) if build else '', 'commit': commit(),
            'date': datetime.date.today().isoformat()}


def machine_line(about):
    kind = 'virtual machine' if about['virtual'] else 'machine'
    built = f', {about["compiler"]}' if about['compiler'] else ''
    return (f'{about["date"]}, commit {about["commit"]}: {kind} with {about["cores"]} cores of '
            f'{about["processor"]}, {about["memoryGiB"]} GiB, {about["system"]}{built}; '
            f'load before the run {about["load"]}')


def markdown(titles, rows):
    lines = [titles, ['---'] * len(titles), *rows]
    return '\n'.join('| ' + ' | '.join(line) + ' |' for line in lines)
