"""Which seed a picture is made with."""

import os
from unittest import mock

from scratch_render import RenderCase

from quillmere_helper.errors import HelperError
from quillmere_helper.parameters import seed_for

LARGEST = (1 << 64) - 1


class Seeds(RenderCase):
    def test_the_seed_of_the_host_goes_before_every_choice(self):
        for given in (0, 12, LARGEST):
            with mock.patch.dict(os.environ, {"QUILLMERE_SEED": str(given)}):
                self.assertEqual({seed_for(choice, 3) for choice in ("random", "frame", 7)}, {given})

    def test_what_is_no_seed_is_refused(self):
        for given in ("x", "-1", "1.5", " 5", "٣", str(LARGEST + 1), "9" * 5000):
            with mock.patch.dict(os.environ, {"QUILLMERE_SEED": given}), self.subTest(given[:30]):
                with self.assertRaisesRegex(HelperError, "QUILLMERE_SEED"):
                    seed_for("frame", 3)

    def test_frames_have_seeds_of_their_own_that_stay(self):
        seeds = [seed_for("frame", frame) for frame in range(-50, 50)]
        self.assertEqual(len(set(seeds)), 100)
        self.assertEqual(seeds, [seed_for("frame", frame) for frame in range(-50, 50)])
        self.assertTrue(all(0 <= seed <= LARGEST for seed in seeds))
