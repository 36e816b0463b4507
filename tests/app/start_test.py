#!/usr/bin/env python3
"""start_test PROGRAM LOCALDRIVE: how the program starts, ends, and what it leaves behind.

Each case is a process of its own with a home folder of its own, run inside a display.
"""
import os
import shutil
import signal
import socket
import sqlite3
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
from desktop import Area, click, press, screen, wait_for, xdotool
from program import Addresses, LocalDrive, Program

PROGRAM, LOCALDRIVE = sys.argv[1:3]
LOGIN_TITLE = "青柚云盘PC版-扫码登录"
MAIN_TITLE = "青柚云盘["
TOAST_TITLE = "Dialog"
QUESTION_TITLE = "警告"
LOCKED_TITLE = "数据库被占用"
UNWRITTEN_TITLE = "更改尚未保存"
NOBODY = Addresses("http://127.0.0.1:1", "http://127.0.0.1:1")  # nothing listens there


class Start(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.home = self.folder / "home"
        self.data = self.home / "moravu"

    def start(self, addresses=NOBODY, arguments=("--new-instance",)):
        program = Program(PROGRAM, self.home, addresses, self.folder, arguments)
        self.addCleanup(program.stop)
        return program

    def start_drive(self, *arguments):
        drive = LocalDrive(LOCALDRIVE, self.folder, "--state-dir", self.folder / "drive",
                           "--auto-login", 0, *arguments)
        self.addCleanup(drive.stop)
        return drive

    def log_in(self, drive):
        """Leaves a home folder with one stored user."""
        program = self.start(drive.addresses)
        program.window(MAIN_TITLE).close()
        self.assertEqual(program.end(), 0)

    def change_database(self, statement):
        with sqlite3.connect(self.data / "moravu.db") as database:
            database.execute(statement)

    def column(self, name):
        with sqlite3.connect(self.data / "moravu.db") as database:
            return [row[0] for row in database.execute(f"SELECT {name} FROM UserInfo")]

    def assert_ends_in_order(self, program):
        """Without a complaint, and the window's place is stored."""
        self.assertEqual(program.end(), 0)
        self.assertIn("geometry=", program.settings())
        for complaint in ("QSqlDatabasePrivate", "QObject", "QThread", "Sanitizer"):
            self.assertFalse(program.said(complaint), program.lines)

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

    def test_says_its_version_and_its_options(self):
        for option, words in ("--version", "moravu "), ("--help", "--new-instance"):
            program = self.start(arguments=[option])
            program.wait_said(words)
            self.assertEqual(program.end(), 0)

    # The request that follows is never answered, and leaves nothing behind.
    def test_services_are_asked_through_the_systems_proxy(self):
        with socket.create_server(("127.0.0.1", 0)) as proxy, mock.patch.dict(
                os.environ, no_proxy="",
                http_proxy=f"http://127.0.0.1:{proxy.getsockname()[1]}"):
            program = self.start(Addresses("http://drive.invalid", "http://backend.invalid"))
            proxy.settimeout(60)
            with proxy.accept()[0] as asked:
                self.assertIn(b" http://backend.invalid/", asked.recv(1000))
            self.assert_asks_for_login(program)

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
        program = self.start()
        program.window(TOAST_TITLE)
        self.assert_asks_for_login(program)
        kept = [path for path in self.data.glob("moravu.db*") if path.read_bytes() == content]
        self.assertTrue(kept)

    def test_unusable_data_is_said_and_the_program_starts(self):
        self.home.mkdir()
        self.data.write_bytes(b"")  # no folder can be made here
        program = self.start()
        program.window(TOAST_TITLE)
        self.assert_asks_for_login(program)

    def test_database_in_use_elsewhere_is_waited_for(self):
        drive = self.start_drive()
        self.log_in(drive)
        holder = sqlite3.connect(self.data / "moravu.db", isolation_level=None)
        for statement in ("PRAGMA journal_mode=DELETE", "BEGIN EXCLUSIVE"):
            holder.execute(statement)
        for leave in (lambda: program.process.send_signal(signal.SIGTERM),
                      lambda: press("Escape"), lambda: program.window(LOCKED_TITLE).close()):
            program = self.start(drive.addresses)
            program.window(LOCKED_TITLE).activate()
            leave()
            self.assertEqual(program.end(), 0)
        program = self.start(drive.addresses)
        program.window(LOCKED_TITLE)
        self.assertFalse(program.shows(LOGIN_TITLE))
        holder.close()
        press("Return")  # 重试
        program.window(MAIN_TITLE).close()
        self.assert_ends_in_order(program)

    def test_second_start_brings_the_first_one_forward(self):
        drive = self.start_drive()
        self.log_in(drive)
        first = self.start(drive.addresses, [])
        main = first.window(MAIN_TITLE)
        for leave in "windowminimize", "windowlower":
            xdotool(leave, main.id)
            self.assertEqual(self.start(drive.addresses, []).end(), 0)
            wait_for("the window before others",
                     lambda: xdotool("getactivewindow").strip() == main.id and main.area())
        self.start(drive.addresses).window(MAIN_TITLE).close()
        main.close()
        self.assert_ends_in_order(first)

    def test_of_starts_at_the_same_time_one_remains(self):
        programs = [self.start(arguments=[]) for _ in range(3)]

        def ended():
            return [program for program in programs if program.process.poll() is not None]
        wait_for("two that leave it to the third", lambda: len(ended()) == 2)
        self.assertEqual({program.process.returncode for program in ended()}, {0})
        last = next(program for program in programs if program not in ended())
        self.assert_asks_for_login(last)

    def test_first_one_that_cannot_answer_keeps_nobody_out(self):
        frozen = self.start(arguments=[])
        frozen.window(LOGIN_TITLE)
        frozen.process.send_signal(signal.SIGSTOP)
        beside = self.start(arguments=[])
        beside.wait_said("does not answer")
        frozen.process.kill()
        frozen.end()
        beside.wait_said("this one is the first")
        self.assertEqual(self.start(arguments=[]).end(), 0)
        self.assert_asks_for_login(beside)
        after = self.start(arguments=[])
        after.window(LOGIN_TITLE)
        self.assertEqual(self.start(arguments=[]).end(), 0)
        self.assert_asks_for_login(after)

    def test_settings_that_are_none_do_no_harm(self):
        self.log_in(self.start_drive())
        settings = self.data / "mrsettings.ini"
        user = next(line for line in settings.read_text(encoding="utf-8").splitlines()
                    if line.startswith("curUserId"))
        settings.write_bytes(b"\xff\xfe\x00 no = settings [\n[General]\n" + user.encode() +
                             b"\ngeometry=@ByteArray(no geometry)\nstate=7\nfileListState={\n")
        program = self.start()
        program.window(MAIN_TITLE).close()
        self.assert_ends_in_order(program)

    def test_window_comes_back_to_its_place(self):
        drive = self.start_drive()
        self.log_in(drive)
        whole = screen()
        for wanted in (Area(60, 70, 820, 560),
                       Area(0, 30, whole.width // 2, whole.height - 32)):  # as tiled
            program = self.start(drive.addresses)
            main = program.window(MAIN_TITLE)
            main.place(wanted)
            placed = main.area()
            main.close()
            self.assert_ends_in_order(program)
            again = self.start(drive.addresses)
            window = again.window(MAIN_TITLE)
            wait_for("the window in its place", lambda: window.area() == placed)
            window.close()
            self.assert_ends_in_order(again)

    def test_window_from_a_larger_screen_comes_back_within_this_one(self):
        drive = self.start_drive()
        self.log_in(drive)
        program = self.start(drive.addresses)
        main = program.window(MAIN_TITLE)
        large = Area(60, 70, screen().width + 300, screen().height + 300)
        main.place(large)
        wait_for("the large window", lambda: main.area().height == large.height)
        main.close()
        self.assert_ends_in_order(program)
        again = self.start(drive.addresses).window(MAIN_TITLE)

        def is_within():
            area = again.area()
            return (area.x >= 0 and area.x + area.width <= screen().width
                    and area.y >= 0 and area.y + area.height <= screen().height)
        wait_for("the window within the screen", is_within)

    def test_two_processes_leave_each_other_alone(self):
        drive = self.start_drive()
        self.log_in(drive)
        first, second = self.start(drive.addresses), self.start(drive.addresses)
        first_main = first.window(MAIN_TITLE)
        second.window(MAIN_TITLE).close()
        self.assert_ends_in_order(second)
        first.wait_said("video quality menu init")
        tokens = self.column("accessToken")
        first_main.close()
        self.assert_ends_in_order(first)
        self.assertEqual(self.column("accessToken"), tokens)
        self.assertIn("curUserId=", first.settings())

    def test_ends_with_a_toast_open(self):
        self.log_in(self.start_drive())
        self.change_database("UPDATE UserInfo SET updateTime = '2020-01-01 00:00:00'")
        program = self.start()  # the renewal of the token fails, which a toast says
        main = program.window(MAIN_TITLE)
        program.window(TOAST_TITLE)
        main.close()
        self.assert_ends_in_order(program)

    def test_ends_with_a_question_open(self):
        folder = self.folder / "files"
        folder.mkdir()
        (folder / "kept.txt").write_text("kept", encoding="utf-8")
        drive = self.start_drive("--drive", folder, "--writable")
        self.log_in(drive)
        with (self.data / "mrsettings.ini").open("a", encoding="utf-8") as settings:
            settings.write("delToRecycle=false\n")
        program = self.start(drive.addresses)
        main = program.window(MAIN_TITLE)
        program.wait_said("video quality menu init", program.wait_said("init select tab: 0"))
        area = main.area()

        def ask():
            click(area.x + area.width // 2, area.y + area.height // 2)
            press("ctrl+a")
            press("Delete")
            return program.shows(QUESTION_TITLE)
        wait_for("the question", ask, pause=0.5)
        program.process.send_signal(signal.SIGTERM)
        self.assert_ends_in_order(program)
        self.assertTrue((folder / "kept.txt").exists())

    def test_ending_during_a_renewal_keeps_the_new_tokens(self):
        drive = self.start_drive()
        self.log_in(drive)
        self.change_database("UPDATE UserInfo SET updateTime = '2020-01-01 00:00:00'")
        old = self.column("refreshToken")
        drive.steer("faults", path="/oauth/access_token", delay=3000)
        program = self.start(drive.addresses, [])
        program.window(MAIN_TITLE).close()
        after = self.start(drive.addresses, [])  # the first one has no window to bring forward
        self.assert_ends_in_order(program)
        self.assertTrue(program.said("Refresh token success."))
        self.assertNotEqual(self.column("refreshToken"), old)
        after.window(MAIN_TITLE).close()
        self.assert_ends_in_order(after)

    def test_tokens_that_a_busy_database_does_not_take_are_not_given_up_silently(self):
        drive = self.start_drive()
        self.log_in(drive)
        self.change_database("UPDATE UserInfo SET updateTime = '2020-01-01 00:00:00'")
        old = self.column("refreshToken")
        holder = sqlite3.connect(self.data / "moravu.db", isolation_level=None)
        holder.execute("BEGIN IMMEDIATE")
        program = self.start(drive.addresses)
        main = program.window(MAIN_TITLE)
        program.wait_said("The database takes no writes")
        main.close()
        program.window(UNWRITTEN_TITLE).activate()
        self.assertEqual(self.column("refreshToken"), old)
        holder.close()
        press("Return")  # 重试
        self.assert_ends_in_order(program)
        self.assertNotEqual(self.column("refreshToken"), old)

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
        program = self.start(self.start_drive().addresses)
        main = program.window(MAIN_TITLE)
        program.wait_said("video quality menu init")
        self.assertFalse(program.has_loaded("libmpv"))
        main.close()
        wait_for("the end", lambda: program.process.poll() is not None)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
