"""Real mail: every mailbox of the shared corpus converts, and independent readers find all of it."""
import json
import unittest

from harness import SHARED, PstTest, file_name

CORPUS = SHARED / 'corpus'


class Trees(PstTest):

    def check(self, tree, prefix, code, arguments=()):
        expected = json.loads((CORPUS / 'expected-folders.json').read_text(encoding='utf-8'))[tree]
        self.assertTrue(expected)
        pst = self.folder / 'out.pst'
        account = self.convert(*arguments, CORPUS / tree, pst, code=code)
        wanted = {(*prefix, *entry['folder']): entry['messages'] for entry in expected}
        if tree == 'profile':
            # The engine's walk, which that list is about, passes over subfolders without a mailbox.
            wanted[(*prefix, 'Orphan', 'Lost')] = 3
        self.assertEqual({tuple(f['path']): f['written'] for f in account['folders']}, wanted)
        listed = self.listed_folders(pst)
        # Folders without mail of their own appear only as somebody's parent.
        parents = {path[:i] for path in wanted for i in range(1, len(path))}
        self.assertEqual(set(listed), set(wanted) | parents)
        self.assertEqual({path: n for path, n in listed.items() if path in wanted}, wanted)
        self.assert_readers_agree(pst, sum(wanted.values()), wanted)
        return account

    def left_behind(self, account):
        return {file_name(entry['path']) for entry in account['passedOver']
                if entry['leftBehind']}

    def test_folder_of_mbox_files(self):
        # A text that happens to begin like a mailbox is named, rather than lost without a word.
        account = self.check('mbox-dir', ['mbox-dir'], 1)
        self.assertEqual(self.left_behind(account), {'notes.txt'})
        passed_over = {file_name(entry['path']) for entry in account['passedOver']}
        self.assertLessEqual({'broken.mbox', 'lower.mbox', '._lists.mbox'}, passed_over)

    def test_profile_leaves_some_mail_behind_and_says_so(self):
        account = self.check('profile', [], 1)
        self.assertEqual(self.left_behind(account), {'Old.mail'})

    def test_profile_under_a_name(self):
        self.check('profile', ['My profile'], 1, ['--name', 'My profile', '--from', 'thunderbird'])


if __name__ == '__main__':
    unittest.main()
