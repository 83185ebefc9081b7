"""Holds the stages that docs/ARCHITECTURE.md tells against the table that the engine walks."""
import re
import unittest

import layers
import tree


def of_engine(text):
    """Rows of kOCStages: [("1", "Input highlight recovery"), …]."""
    return re.findall(r'\{\s*\.order = (\d+),\s*\.name = "([^"]+)"', text)


def of_document(text):
    return [tuple(row[:2]) for row in layers.table(text, "The road of one pixel")]


class Tree(unittest.TestCase):
    def test_the_document_tells_the_engine_s_stages(self):
        engine = of_engine(tree.text(tree.root(), "src/OCStages.cpp"))
        self.assertGreaterEqual(len(engine), 12)
        self.assertEqual(of_document(tree.text(tree.root(), "docs/ARCHITECTURE.md")), engine)

    def test_the_order_rises(self):
        orders = [int(order) for order, _ in of_engine(tree.text(tree.root(), "src/OCStages.cpp"))]
        self.assertEqual(orders, sorted(set(orders)))


class SelfTest(unittest.TestCase):
    def test_both_readers_read(self):
        self.assertEqual(of_engine('{.order = 1,\n   .name = "A b",\n .isOn = x},\n{.order = 12, .name = "C"}'),
                         [("1", "A b"), ("12", "C")])
        self.assertEqual(of_document("## The road of one pixel\n\ntext\n\n| O | S |\n|---|---|\n| 1 | A b |\n| 12 | C |\n"
                                     "\n## Next\n| 3 | D |\n"), [("1", "A b"), ("12", "C")])


if __name__ == "__main__":
    unittest.main()
