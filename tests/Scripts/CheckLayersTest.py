"""Plants one violation at a time in a small house and sees scripts/check-layers find it there, and only it."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

cChecker = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-layers"

cHouse = {
    "Export/Kora_API.h": "#pragma once\n#if defined(_WIN32)\n#endif\n",
    "Bastel/Cmn/Cmn_Types.h": "#pragma once\n#include <cstdint>\n",
    "OstrelPlatformSupport/PSThread.h": '#pragma once\n#include "Export/Kora_API.h"\n',
    "OstrelPlatformSupport/PSThread_p.h": '#pragma once\n#include <atomic>\nstruct S { std::atomic<int> mWord{0}; };\n',
    "OstrelPlatformSupport/Posix/PSThread.cpp": "#include <pthread.h>\n#ifdef __linux__\n#endif\n",
    "Kora/Cnn/Cnn_List.h": '#pragma once\n#include "Bastel/Cmn/Cmn_Types.h"\n',
    "Kora/Ndo/Ndo_Object.h": '#pragma once\n#include "Kora/Cnn/Cnn_List.h"\n',
    "Kora/Time/Values/Time_Tick.h": "#pragma once\n",
    "Kora/Time/Values/Time_Typed.h": '#pragma once\n#include "Kora/Time/Values/Time_Tick.h"\n',
    "Kora/Time/Values/Time_Sample.cpp": '#include "Kora/Time/Values/Time_Typed.h"\n',
    "Kora/Time/Meter/Time_MeterMap.h": '#pragma once\n#include "Kora/Ndo/Ndo_Object.h"\n',
    "Kora/Time/Convert/Time_Convert.h": '#pragma once\n#include "Kora/Time/Meter/Time_MeterMap.h"\n',
    "Kora/Time/Key/Time_KeySignatureMap.cpp": '#include "Kora/Time/Convert/Time_Convert.h"\n',
    "Kora/DAW/DAW_Menu.h": "#pragma once\n",
    "Kora/Undo.h": '#pragma once\n#include "Kora/Ndo/Ndo_Object.h"\n',
    "Kora/DAW/Win32/DAW_MenuWin32.h": '#pragma once\n#include "Kora/DAW/DAW_Menu.h"\nstruct HMENU__;\nusing HMENU = HMENU__*;\n',
    "Kora/Kora_Init.h": '#pragma once\n#include "Kora/Time/Values/Time_Typed.h"\n',
    "examples/desk/Menus.h": "#pragma once\n",
    "examples/desk/Posix/Main.cpp": '#include "Menus.h"\n#include "desk/Menus.h"\n',
    "tests/Time/Meter/MeterMapTest.cpp": '#include "Kora/Time/Meter/Time_MeterMap.h"\n#include <gtest/gtest.h>\n',
}

# name: (file, what is planted at its end, a piece of the finding); None: the house stays sound.
cCases = {
    "the house as it stands": ("Kora/Kora_Init.h", "", None),
    "an include goes up a floor": ("Bastel/Cmn/Cmn_Types.h", '#include "Kora/Cnn/Cnn_List.h"', "Bastel is below or beside Kora/Cnn"),
    "the foundations know each other": (
        "Bastel/Cmn/Cmn_Types.h", '#include "OstrelPlatformSupport/PSThread.h"', "Bastel is below or beside OstrelPlatformSupport"),
    "messages know undo": ("Kora/Cnn/Cnn_List.h", '#include "Kora/Ndo/Ndo_Object.h"', "Kora/Cnn is below or beside Kora/Ndo"),
    "a subsystem knows the start-up": ("Kora/Time/Values/Time_Tick.h", '#include "Kora/Kora_Init.h"', "Kora/Time is below or beside Kora"),
    "the library knows a test": ("Kora/Kora_Init.h", '#include "tests/Time/Meter/MeterMapTest.cpp"', "Kora is below or beside tests"),
    "a value knows a map": (
        "Kora/Time/Values/Time_Tick.h", '#include "Kora/Time/Meter/Time_MeterMap.h"', "Kora/Time/Values is below or beside Kora/Time/Meter"),
    "a source looks up a room": (
        "Kora/Time/Values/Time_Sample.cpp", '#include "Kora/Time/Meter/Time_MeterMap.h"', "Kora/Time/Values is below or beside Kora/Time/Meter"),
    "maps know each other": (
        "Kora/Time/Tempo/Time_TempoMap.cpp", '#include "Kora/Time/Meter/Time_MeterMap.h"', "Kora/Time/Tempo is below or beside Kora/Time/Meter"),
    "a second file asks the converter": (
        "Kora/Time/Key/Time_KeySignature.cpp", '#include "Kora/Time/Convert/Time_Convert.h"', "Kora/Time/Key is below or beside Kora/Time/Convert"),
    "two headers include each other": ("Kora/Ndo/Ndo_Object.h", '#include "Kora/Ndo/Ndo_Manager.h"', "headers include each other"),
    "an include is not written from the root": ("Kora/Time/Values/Time_Typed.h", '#include "Time_Tick.h"', "no file of the house"),
    "a program of another project is near": ("examples/Plain.cpp", '#include "Menus.h"', "no file of the house"),
    "a header of the system on a common floor": ("Kora/Kora_Init.h", "#include <unistd.h>", "<unistd.h> is no C++ header"),
    "a header of the system given to hosts": (
        "OstrelPlatformSupport/Win32/PSPipe.h", "#pragma once\n#include <windows.h>", "<windows.h> in an installed header"),
    "a header of the system given to hosts of one platform": (
        "Kora/DAW/Win32/DAW_MenuWin32.h", "#include <windows.h>", "<windows.h> in an installed header"),
    "a header of one platform in one for all": (
        "Kora/Kora_Init.h", '#include "Kora/DAW/Win32/DAW_MenuWin32.h"', "includes one of a single platform"),
    "a private header given to hosts": (
        "OstrelPlatformSupport/PSThread.h", '#include "OstrelPlatformSupport/PSThread_p.h"', "an installed header includes a private one"),
    "a platform macro on a common floor": ("tests/Time/Meter/MeterMapTest.cpp", "#ifdef _WIN32\n#endif", "_WIN32 outside"),
    "a semaphore": ("Kora/Kora_Init.h", "#include <semaphore>", "<semaphore>: a wake-up can be lost"),
    "an atomic that waits": (
        "OstrelPlatformSupport/PSThread.cpp", '#include "OstrelPlatformSupport/PSThread_p.h"\nvoid F(S& s) { s.mWord.wait(0); }', "mWord.wait"),
    "a condition variable that waits": (
        "OstrelPlatformSupport/PSThread.cpp", "#include <condition_variable>\nvoid F() { gCondition.wait(lock); }", None),
    "a waiting primitive in a comment": ("Kora/Kora_Init.h", "// std::barrier would hang here\n/* std::latch too */", None),
    "arithmetic that differs between platforms": ("Kora/Time/Values/Time_Sample.cpp", "double d = std::round(0.5);", "std::round differs"),
    "a time without a room": ("Kora/Time/Time_Novelty.h", "#pragma once", "lies in no room of Kora/Time"),
    "a header that its subsystem's does not give": ("Kora/Ndo/Ndo_State.h", "#pragma once", 'Kora/Undo.h:1: does not include "Kora/Ndo/Ndo_State.h"'),
    "a header without its guard": ("Kora/Time/Tempo/Time_TempoMap.h", "struct Time_TempoMap;", "no #pragma once"),
}


class CheckLayersTest(unittest.TestCase):
    def Check(self, file, planted):
        with tempfile.TemporaryDirectory() as folder:
            house = dict(cHouse)
            house[file] = house.get(file, "") + planted + "\n"
            if "Ndo_Manager" in planted:
                house["Kora/Undo.h"] += '#include "Kora/Ndo/Ndo_Manager.h"\n'
                house["Kora/Ndo/Ndo_Manager.h"] = '#pragma once\n#include "Kora/Ndo/Ndo_Object.h"\n'
            for path, text in house.items():
                target = pathlib.Path(folder, path)
                target.parent.mkdir(parents=True, exist_ok=True)
                target.write_text(text, encoding="utf-8")
            return subprocess.run([sys.executable, cChecker, folder], capture_output=True, text=True, check=False)

    def test_each_planted_violation_is_found_alone(self):
        for name, (file, planted, finding) in cCases.items():
            with self.subTest(name):
                result = self.Check(file, planted)
                found = result.stdout.splitlines()[:-1]
                if finding is None:
                    self.assertEqual((found, result.returncode), ([], 0))
                else:
                    self.assertEqual((len(found), result.returncode), (1, 1), found)
                    self.assertIn(finding, found[0])


if __name__ == "__main__":
    unittest.main()
