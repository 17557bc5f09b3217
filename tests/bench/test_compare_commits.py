"""What the guard against slower commits calls slower."""
import pathlib
import random
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / 'bench'))
import compare_commits  # noqa: E402


def measured(ratio, deviation, chance, rounds=15):
    return [chance.gauss(ratio, deviation) for _ in range(rounds)]


class Verdict(unittest.TestCase):

    def test_more_than_noise_and_tolerance_is_slower(self):
        for ratio, noise_ratio, deviation, slower in (
                (1.03, 1.0, 0.005, True), (1.10, 1.0, 0.03, True), (1.02, 1.0, 0.0, True),
                (1.00, 1.0, 0.005, False), (0.95, 1.0, 0.005, False),
                (1.004, 1.0, 0.0, False),   # not worth a word
                (1.00, 1.0, 0.10, False),   # a restless machine proves nothing
                (1.03, 1.03, 0.005, False), (1.03, 0.97, 0.005, True)):
            for seed in range(20):
                chance = random.Random(seed)
                head, noise = (measured(r, deviation, chance) for r in (ratio, noise_ratio))
                with self.subTest(ratio=ratio, noise=noise_ratio, deviation=deviation, seed=seed):
                    self.assertIs(compare_commits.judge(head, noise, 0.005), slower)

    def test_one_bad_round_is_no_verdict(self):
        self.assertFalse(compare_commits.judge([1.0] * 14 + [3.0], [1.0] * 15, 0.005))
        self.assertTrue(compare_commits.judge([1.05] * 14 + [0.3], [1.0] * 15, 0.005))
