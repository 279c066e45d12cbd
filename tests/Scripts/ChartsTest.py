"""The charts of docs/performance: every figure is drawn, every chart stands on the page, and nothing leaves its picture."""
import csv
import html
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

cDocs = pathlib.Path(__file__).resolve().parents[2] / "docs"
cPlot = cDocs / "performance" / "plot"
cFigures = cDocs / "performance" / "figures.csv"
cHeader = "chart,what,who,entries,of,low_ns,high_ns\n"

# what is wrong: the rows
cBad = {
    "entries in some rows only": "a,x,Kora,10,items,1,1\na,y,peer,,,1,1\n",
    "the spread turned round": "a,x,Kora,,,2,1\n",
    "no time at all": "a,x,Kora,,,0,1\n",
}


def Draw(figures, folder):
    return subprocess.run([sys.executable, cPlot, figures, folder], capture_output=True, text=True, check=False)


class ChartsTest(unittest.TestCase):
    def test_each_figure_is_drawn_inside_its_picture(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(Draw(cFigures, folder).returncode, 0)
            charts = {path.stem[6:]: path.read_text(encoding="utf-8") for path in pathlib.Path(folder).iterdir()}
        with open(cFigures, encoding="utf-8", newline="") as file:
            rows = list(csv.DictReader(file))
        page = (cDocs / "performance.md").read_text(encoding="utf-8")
        self.assertEqual(set(charts), {row["chart"] for row in rows})
        self.assertEqual(sorted(charts), sorted(re.findall(r"chart-(\w+)\.html", page)))
        for name, text in charts.items():
            with self.subTest(name):
                svg = xml.etree.ElementTree.fromstring(text)
                _, _, width, height = map(float, svg.get("viewBox").split())
                for element in svg.iter():
                    for key in ("x", "x1", "x2", "cx"):
                        self.assertTrue(0 <= float(element.get(key, 0)) <= width, element.attrib)
                    for key in ("y", "y1", "y2", "cy"):
                        self.assertTrue(0 <= float(element.get(key, 0)) <= height, element.attrib)
                of = [row for row in rows if row["chart"] == name]
                points = len(svg.findall("{*}circle")) + len([e for e in svg.findall("{*}rect") if "spread" in e.get("class")])
                self.assertEqual(points, len(of))
                told = html.unescape(text)
                for row in of:
                    self.assertIn(row["what"], told)

    def test_a_figure_ten_times_higher_stands_a_power_higher(self):
        with tempfile.TemporaryDirectory() as folder:
            figures = pathlib.Path(folder, "figures.csv")
            figures.write_text(cHeader + "a,x,Kora,1,items,10,10\na,x,Kora,10,items,100,100\na,x,Kora,100,items,1000,1000\n",
                               encoding="utf-8")
            self.assertEqual(Draw(figures, folder).returncode, 0)
            svg = xml.etree.ElementTree.parse(pathlib.Path(folder, "chart-a.html")).getroot()
        low, middle, high = [float(each.get("cy")) for each in svg.findall("{*}circle")]
        self.assertAlmostEqual(low - middle, middle - high, delta=0.11)
        self.assertGreater(low - middle, 50)

    def test_bad_figures_are_refused(self):
        for name, rows in cBad.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                figures = pathlib.Path(folder, "figures.csv")
                figures.write_text(cHeader + rows, encoding="utf-8")
                result = Draw(figures, folder)
                self.assertEqual(result.returncode, 1)
                self.assertIn("chart a", result.stderr)


if __name__ == "__main__":
    unittest.main()
