#!/usr/bin/env python3
"""start_test PROGRAM LOCALDRIVE: when the program asks for a login, and what it leaves behind.

Each case is a process of its own with a home folder of its own, run inside a display.
"""
import shutil
import sqlite3
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
from desktop import wait_for
from program import LocalDrive, Program

PROGRAM, LOCALDRIVE = sys.argv[1:3]
LOGIN_TITLE = "青柚云盘PC版-扫码登录"
MAIN_TITLE = "青柚云盘["
NOBODY = "http://127.0.0.1:1"  # nothing listens there


class Start(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.home = self.folder / "home"
        self.data = self.home / "moravu"

    def start(self, base=NOBODY):
        program = Program(PROGRAM, self.home, base, self.folder)
        self.addCleanup(program.stop)
        return program

    def start_drive(self):
        drive = LocalDrive(LOCALDRIVE, self.folder, "--state-dir", self.folder / "drive",
                           "--auto-login", 0)
        self.addCleanup(drive.stop)
        return drive

    def log_in(self, drive):
        """Leaves a home folder with one stored user."""
        program = self.start(drive.base)
        program.window(MAIN_TITLE).close()
        self.assertEqual(program.end(), 0)

    def assert_asks_for_login(self, program):
        login = program.window(LOGIN_TITLE)
        self.assertFalse(program.shows(MAIN_TITLE))
        login.close()
        self.assertEqual(program.end(), 0)

    def test_closed_login_ends_the_first_run_and_leaves_no_window_state(self):
        program = self.start()
        self.assert_asks_for_login(program)
        self.assertTrue(self.data.is_dir())
        self.assertNotIn("geometry", program.settings())
        self.assertNotIn("state=", program.settings())

    def test_current_user_without_stored_users_must_log_in(self):
        self.data.mkdir(parents=True)
        (self.data / "mrsettings.ini").write_text("[General]\ncurUserId=7\n", encoding="utf-8")
        self.assert_asks_for_login(self.start())

    def test_stored_users_without_a_current_one_must_log_in(self):
        self.log_in(self.start_drive())
        settings = self.data / "mrsettings.ini"
        lines = settings.read_text(encoding="utf-8").splitlines(keepends=True)
        settings.write_text("".join(line for line in lines if "curUserId" not in line),
                            encoding="utf-8")
        self.assert_asks_for_login(self.start())

    def test_file_that_is_no_database_leads_to_the_login_and_is_kept(self):
        self.data.mkdir(parents=True)
        content = b"this is not a database\n" * 200
        (self.data / "moravu.db").write_bytes(content)
        self.assert_asks_for_login(self.start())
        kept = [path for path in self.data.glob("moravu.db*") if path.read_bytes() == content]
        self.assertTrue(kept)

    def test_stored_user_sees_the_window_while_the_service_is_away(self):
        self.log_in(self.start_drive())
        program = self.start()
        main = program.window(MAIN_TITLE)
        program.wait_said("getFileList fail :")
        main.close()
        self.assertEqual(program.end(), 0)

    def test_login_is_stored_once_and_for_its_owner_only(self):
        drive = self.start_drive()
        self.log_in(drive)
        with sqlite3.connect(self.data / "moravu.db") as database:
            users = database.execute("SELECT userId, accessToken <> '' FROM UserInfo").fetchall()
        self.assertEqual(len(users), 1)
        self.assertTrue(users[0][1])
        for name in ("moravu.db", "mrsettings.ini"):
            self.assertEqual((self.data / name).stat().st_mode & 0o077, 0, name)

    def test_libmpv_is_not_loaded_for_the_file_list(self):
        program = self.start(self.start_drive().base)
        main = program.window(MAIN_TITLE)
        program.wait_said("video quality menu init")
        self.assertFalse(program.has_loaded("libmpv"))
        main.close()
        wait_for("the end", lambda: program.process.poll() is not None)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
