"""Completion as a person at a terminal meets it: what a shell makes of a line and the tab key.

  usage: test_completion.py SHELL FOLDER, which holds the completions
"""
import os
import pathlib
import pty
import re
import select
import sys
import tempfile
import time

CASES = (('con\t', 'convert'), ('help ver\t', 'help verify'), ('list --mess\t', 'list --messages'),
         ('convert --from thu\t', 'convert --from thunderbird'), ('convert --from=tak\t', 'convert --from=takeout'),
         ('convert --dedup=fo\t', 'convert --dedup=folder'), ('scan --skip-j\t', 'scan --skip-junk'),
         ('verify --keep state,wi\t', 'verify --keep state,winmail'),
         ('convert --keep=par\t', 'convert --keep=parts'),
         ('convert --report run.j\t', 'convert --report run.json'), ('convert --log=run.j\t', 'convert --log=run.json'),
         ('check --notes mai\t', 'check --notes mail.pst'), ('list --progress=l\t --js\t', 'list --progress=lines --json'))

# What each shell is started with, and what it reads first; then it says READY, and what parvane is given.
SHELLS = {
    'bash': (['bash', '--noprofile', '--rcfile', 'rc', '-i'], 'rc', '''PS1=READY
        parvane() { echo "ran<$*>"; }
        . "$FOLDER/parvane.bash"
        '''),
    'zsh': (['zsh', '-d', '-i'], '.zshrc', '''PROMPT=READY
        parvane() { echo "ran<$*>" }
        fpath=("$FOLDER" $fpath)
        autoload -U compinit && compinit -u -D
        '''),
    'fish': (['fish', '-i'], '.config/fish/config.fish', '''function fish_prompt; echo -n READY; end
        function parvane; echo "ran<$argv>"; end
        source "$FOLDER/parvane.fish"
        ''')}


def read_until(terminal, pattern):
    text, end = '', time.monotonic() + 30
    while time.monotonic() < end:
        if select.select([terminal], [], [], 1)[0]:
            text += os.read(terminal, 65536).decode('utf-8', 'replace')
        if found := re.search(pattern, text):
            return found
    raise SystemExit(f'no {pattern} in: {text!r}')


def main(shell, folder):
    command, start, commands = SHELLS[shell]
    with tempfile.TemporaryDirectory() as home:
        os.chdir(home)
        for name in ('run.json', 'mail.pst'):
            pathlib.Path(name).touch()
        pathlib.Path(start).parent.mkdir(parents=True, exist_ok=True)
        pathlib.Path(start).write_text(commands, encoding='utf-8')
        child, terminal = pty.fork()
        if not child:
            os.execvpe(command[0], command, {'PATH': os.environ['PATH'], 'HOME': home, 'ZDOTDIR': home, 'TERM': 'xterm',
                                             'FOLDER': folder, 'LC_ALL': 'C.UTF-8'})
        faults = []
        read_until(terminal, 'READY')
        for typed, wanted in CASES:
            # A person does not type ahead of what the tab key has done.
            for part in ('parvane ' + typed).split('\t')[:-1]:
                os.write(terminal, part.encode() + b'\t')
                time.sleep(0.3)
            os.write(terminal, b'\r')
            got = re.sub(r'\s+', ' ', read_until(terminal, r'(?s)ran<([^>]*)>.*READY')[1]).strip()
            if got != wanted:
                faults.append(f'{typed!r} becomes {got!r}, not {wanted!r}')
        os.write(terminal, b'exit\r')
        os.waitpid(child, 0)
    sys.exit('\n'.join(faults) or 0)


main(sys.argv[1], sys.argv[2])
