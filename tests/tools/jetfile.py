"""A file of format 3 page by page: header, page ownership, rows, page maps, definitions, long values."""
import datetime
import math
import struct

from jetkeys import (BINARY, BOOLEAN, BYTE, DATE, DOUBLE, FIXED_SIZE, GUID, INTEGER, LONG, MEMO, MONEY, OLE, SINGLE, TEXT,
                     Fault, key_stream, text_of, u16, u32)

PAGE = 2048


class JetFile:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        self.faults, self.notes = [], []
        self.owner = {}          # page number -> who has it
        self.map_rows = {}       # row pointer of a map -> who uses it
        self.entry_count = self.row_count = 0
        if len(self.data) < 2 * PAGE:
            raise Fault("shorter than two pages")
        if len(self.data) % PAGE:
            self.fault(f"file size {len(self.data)} is no multiple of {PAGE}")
        self.page_count = len(self.data) // PAGE
        self.read_header()

    def fault(self, text):
        if len(self.faults) < 200:
            self.faults.append(text)

    def note(self, text):
        self.notes.append(text)

    def page(self, number):
        if not 0 < number < self.page_count:
            raise Fault(f"page {number} lies outside the file")
        return self.data[number * PAGE:(number + 1) * PAGE]

    def read_header(self):
        head = bytearray(self.data[:PAGE])
        if head[:4] != b"\0\1\0\0" or head[4:20] != b"Standard Jet DB\0":
            raise Fault("no header of a database")
        if u32(head, 0x14) != 0:
            raise Fault(f"format version {u32(head, 0x14)} is not format 3")
        stream = key_stream(bytes([0xC7, 0xDA, 0x39, 0x6B]), 126)
        for n, mask in enumerate(stream):
            head[0x18 + n] ^= mask
        self.header = bytes(head)
        if u32(head, 0x3E):
            raise Fault("the file is encrypted")
        self.langid = u16(head, 0x3A)
        self.password = text_of(head[0x42:0x56].rstrip(b"\0"))
        self.build = u32(head, 0x56)
        if (u32(head, 0x18), u32(head, 0x1C)) != (0x100, 0x101):
            self.fault("header: the maps of free pages are not at 0x100 and 0x101")
        if sorted(u32(head, at) for at in range(0x20, 0x30, 4)) != [2, 3, 4, 5]:
            self.fault("header: the definition pages of the system tables are not 2, 3, 4, 5")
        if u32(head, 0x600) & 0xFFFF == 0:
            self.fault("header: commit word 0 says that a writer died")

    def claim(self, number, who):
        if not 0 < number < self.page_count:
            self.fault(f"{who}: page {number} lies outside the file of {self.page_count} pages")
            return False
        if number in self.owner:
            self.fault(f"page {number} belongs to {self.owner[number]} and to {who}")
            return False
        self.owner[number] = who
        return True

    # ---- pages of rows: data, long values, maps

    def slots(self, number):
        """Row slots of a type 01 page: (flags, bytes); None for a deleted one. Checks offsets and free bytes."""
        page = self.page(number)
        if page[:2] != b"\1\1":
            raise Fault(f"page {number}: kind {page[0]:02x} {page[1]:02x} where rows are expected")
        count = u16(page, 8)
        low = 10 + 2 * count
        if count > 255 or low > PAGE:
            raise Fault(f"page {number}: {count} rows")
        end, result = PAGE, []
        for n in range(count):
            raw = u16(page, 10 + 2 * n)
            start, flags = raw & 0x3FFF, raw & 0xC000
            if not low <= start <= end:
                raise Fault(f"page {number} row {n}: from {start} to {end}, page head ends at {low}")
            if flags == 0xC000:
                if start != end:
                    self.note(f"page {number} row {n}: deleted but keeps {end - start} bytes")
                result.append(None)
            else:
                result.append((flags, page[start:end]))
            end = start
        if u16(page, 2) != end - low:
            self.fault(f"page {number}: {u16(page, 2)} free bytes, really {end - low}")
        return result

    def slot(self, pointer):
        slots = self.slots(pointer >> 8)
        if pointer & 255 >= len(slots) or slots[pointer & 255] is None:
            raise Fault(f"page {pointer >> 8} row {pointer & 255}: no such row")
        return slots[pointer & 255]

    def map_pages(self, pointer, who):
        """Pages of a usage map, ascending. Claims the map's row and its pages of bits."""
        if pointer in self.map_rows:
            self.fault(f"map {pointer >> 8}/{pointer & 255} belongs to {self.map_rows[pointer]} and to {who}")
        self.map_rows[pointer] = who
        page = self.page(pointer >> 8)
        if pointer >> 8 != 1 and u32(page, 4) != 0:
            self.fault(f"page {pointer >> 8} holds maps but its owner is {u32(page, 4)}")
        flags, row = self.slot(pointer)
        if flags:
            raise Fault(f"map {pointer >> 8}/{pointer & 255} of {who} has row flags {flags:04x}")
        pages = []

        def bits(raw, first):
            for n, byte in enumerate(raw):
                pages.extend(first + 8 * n + bit for bit in range(8) if byte >> bit & 1)

        if row[:1] == b"\0":
            if len(row) < 5:
                raise Fault(f"map of {who} has {len(row)} bytes")
            bits(row[5:], u32(row, 1))
        elif row[:1] == b"\1":
            for n in range((len(row) - 1) // 4):
                number = u32(row, 1 + 4 * n)
                if number and self.claim(number, f"bits of the map of {who}"):
                    raw = self.page(number)
                    if raw[:2] != b"\5\1":
                        self.fault(f"page {number}: kind {raw[0]:02x} where bits of the map of {who} are expected")
                    bits(raw[4:], n * (PAGE - 4) * 8)
        else:
            raise Fault(f"map of {who} is of kind {row[:1].hex()}")
        return pages

    # ---- definitions

    def definition(self, number, name):
        joined, pages, at = b"", [], number
        while at:
            if at in pages:
                raise Fault(f"definition of {name}: page {at} comes twice")
            page = self.page(at)
            if page[:2] != b"\2\1":
                raise Fault(f"definition of {name}: page {at} is of kind {page[0]:02x}")
            joined += page if not pages else page[8:]
            pages.append(at)
            at = u32(page, 4)
        for page in pages:
            self.claim(page, f"definition of {name}")
        length = u32(joined, 8)
        if length > len(joined):
            raise Fault(f"definition of {name}: length {length} of {len(joined)} bytes")
        if length == len(joined):
            self.fault(f"definition of {name} ends with its page")
        table = {"name": name, "page": number, "pages": pages, "rows": u32(joined, 12), "auto": u32(joined, 16),
                 "kind": chr(joined[20]), "ever": u16(joined, 21), "variable": u16(joined, 23)}
        column_count, logical_count, real_count = u16(joined, 25), u32(joined, 27), u32(joined, 31)
        table["owned"], table["room"] = u32(joined, 35), u32(joined, 39)
        if column_count > 255 or logical_count > 64 or real_count > 32 or table["kind"] not in "NS":
            raise Fault(f"definition of {name}: {column_count} columns, {logical_count} and {real_count} indexes")
        at = 43
        try:
            counts = [struct.unpack_from("<II", joined, at + 8 * n) for n in range(real_count)]
            at += 8 * real_count
            columns = []
            for n in range(column_count):
                kind, num, ordinal, position, country, langid, code_page, flags, offset, size = \
                    struct.unpack_from("<BHHHHHHBHH", joined, at + 18 * n)
                columns.append({"type": kind, "number": num, "ordinal": ordinal, "position": position, "langid": langid,
                                "codePage": code_page, "flags": flags, "offset": offset, "size": size})
            at += 18 * column_count
            for column in columns:
                column["name"] = text_of(joined[at + 1:at + 1 + joined[at]])
                at += 1 + joined[at]
            trees = []
            for n in range(real_count):
                pairs = [struct.unpack_from("<HB", joined, at + 3 * i) for i in range(10)]
                owned, root = u32(joined, at + 30), u32(joined, at + 34)
                trees.append({"columns": [(c, order != 1) for c, order in pairs if c != 0xFFFF], "map": owned, "root": root,
                              "flags": joined[at + 38], "counts": counts[n]})
                at += 39
            indexes = []
            for n in range(logical_count):
                num, real, other_kind, other, other_page, update, delete, kind = struct.unpack_from("<IIBiIBBB", joined, at)
                indexes.append({"number": num, "real": real, "otherKind": other_kind, "other": other, "otherPage": other_page,
                                "update": update, "delete": delete, "type": kind})
                at += 20
            for index in indexes:
                index["name"] = text_of(joined[at + 1:at + 1 + joined[at]])
                at += 1 + joined[at]
            long_values = {}
            while u16(joined, at) != 0xFFFF:
                num, owned, room = struct.unpack_from("<HII", joined, at)
                long_values[num] = (owned, room)
                at += 10
            at += 2
        except (struct.error, IndexError):
            raise Fault(f"definition of {name} is cut short") from None
        if at != length:
            self.fault(f"definition of {name}: length {length}, really {at}")
        table.update(columns=columns, trees=trees, indexes=indexes, longValues=long_values,
                     byNumber={c["number"]: c for c in columns})
        self.check_definition(table)
        return table

    def check_definition(self, table):
        name = table["name"]
        if len(table["byNumber"]) != len(table["columns"]):
            self.fault(f"{name}: two columns have one number")
        for column in table["columns"]:
            where = f"{name}.{column['name']}"
            if column["type"] not in FIXED_SIZE and column["type"] not in (BOOLEAN, BINARY, TEXT, OLE, MEMO):
                self.fault(f"{where}: type {column['type']}")
            if column["number"] >= table["ever"]:
                self.fault(f"{where}: number {column['number']} of {table['ever']} columns ever")
            if not column["flags"] & 1 and column["type"] != BOOLEAN and column["ordinal"] >= table["variable"]:
                self.fault(f"{where}: ordinal {column['ordinal']} of {table['variable']} variable columns")
            if (column["type"] in (OLE, MEMO)) != (column["number"] in table["longValues"]):
                self.fault(f"{where}: type {column['type']} and the list of long value columns disagree")
        for n in table["longValues"]:
            if n not in table["byNumber"]:
                self.fault(f"{name}: long value maps of column number {n}, which does not exist")
        for n, tree in enumerate(table["trees"]):
            if not tree["columns"]:
                self.fault(f"{name}: index tree {n} has no columns")
            for number, _ in tree["columns"]:
                if number not in table["byNumber"]:
                    raise Fault(f"{name}: index tree {n} has column number {number}")
            if not any(index["real"] == n for index in table["indexes"]):
                self.fault(f"{name}: index tree {n} has no name")
        for index in table["indexes"]:
            if index["real"] >= len(table["trees"]):
                raise Fault(f"{name}.{index['name']}: tree {index['real']}")
            tree = table["trees"][index["real"]]
            if index["type"] == 1 and not tree["flags"] & 1:
                self.fault(f"{name}.{index['name']}: primary but not unique")
        names = [index["name"].upper() for index in table["indexes"]]
        if len(set(names)) != len(names):
            self.fault(f"{name}: two indexes have one name")
        if len({index["number"] for index in table["indexes"]}) != len(names):
            self.fault(f"{name}: two indexes have one number")

    # ---- rows

    def decode_row(self, table, row, where):
        """Stored bytes by column number; None for Null."""
        if not row:
            raise Fault(f"{where}: empty row")
        count = row[0]
        bit_bytes = (count + 7) // 8
        if count > table["ever"]:
            raise Fault(f"{where}: {count} columns, the table had {table['ever']} ever")
        bits_at = len(row) - bit_bytes
        if bits_at < 1:
            raise Fault(f"{where}: too short")
        bits = row[bits_at:]
        ends = []
        if table["variable"]:
            variable = row[bits_at - 1]
            jump_count = (len(row) - 1) // 256
            table_end = bits_at - 1 - jump_count
            if table_end - variable - 1 < 1:
                raise Fault(f"{where}: {variable} variable fields in {len(row)} bytes")
            low = [row[table_end - 1 - n] for n in range(variable + 1)]
            jumps = [row[bits_at - 2 - n] for n in range(jump_count)]
            block = 0
            for n, byte in enumerate(low):
                while block < jump_count and jumps[block] == n:
                    block += 1
                ends.append(block * 256 + byte)
            table_start = table_end - variable - 1
            if ends != sorted(ends) or ends[0] < 1 or ends[-1] != table_start:
                raise Fault(f"{where}: variable fields end at {ends}, their table starts at {table_start}")
            fixed_end = ends[0]
            expected = [next((n for n, end in enumerate(ends) if end >= 256 * (b + 1)), 255) for b in range(jump_count)]
            if jumps != expected:
                self.fault(f"{where}: jump bytes {jumps}, really {expected}")
        else:
            fixed_end = bits_at
        for n in range(count, 8 * bit_bytes):
            if bits[n // 8] >> n % 8 & 1:
                self.fault(f"{where}: presence bit {n} of {count} columns")
        values = {}
        for column in table["columns"]:
            number = column["number"]
            present = number < count and bits[number // 8] >> number % 8 & 1
            if column["type"] == BOOLEAN:
                values[number] = bool(present)
            elif not present:
                values[number] = None
            elif column["flags"] & 1:
                start, size = 1 + column["offset"], FIXED_SIZE.get(column["type"], column["size"])
                if start + size > fixed_end:
                    raise Fault(f"{where}: column {column['name']} ends at {start + size} of {fixed_end} fixed bytes")
                values[number] = row[start:start + size]
            else:
                ordinal = column["ordinal"]
                if ordinal + 1 >= len(ends):
                    raise Fault(f"{where}: column {column['name']} is variable field {ordinal} of {len(ends) - 1}")
                values[number] = row[ends[ordinal]:ends[ordinal + 1]]
                size = FIXED_SIZE.get(column["type"])
                if size and len(values[number]) != size:
                    raise Fault(f"{where}: column {column['name']} has {len(values[number])} bytes")
                if column["type"] == TEXT and len(values[number]) > column["size"]:
                    self.fault(f"{where}: column {column['name']} has {len(values[number])} of {column['size']} characters")
        return values

    def long_value(self, stored, own_pages, used, where):
        if len(stored) < 12:
            raise Fault(f"{where}: a long value of {len(stored)} bytes")
        length, flag, pointer = u32(stored, 0) & 0x3FFFFFFF, stored[3] & 0xC0, u32(stored, 4)
        if flag == 0x80:
            if len(stored) != 12 + length or length > 64:
                raise Fault(f"{where}: inline long value of {length} bytes in {len(stored)}")
            return stored[12:]
        if flag not in (0x40, 0x00):
            raise Fault(f"{where}: long value flag {flag:02x}")
        if len(stored) != 12:
            raise Fault(f"{where}: {len(stored)} bytes for a long value kept elsewhere")
        value = b""
        while True:
            if pointer >> 8 not in own_pages:
                raise Fault(f"{where}: long value on page {pointer >> 8}, which its column does not own")
            if pointer in used:
                raise Fault(f"{where}: long value row {pointer >> 8}/{pointer & 255} is used twice")
            used.add(pointer)
            flags, row = self.slot(pointer)
            if flags:
                raise Fault(f"{where}: long value row with flags {flags:04x}")
            if flag == 0x40:
                value = row
                break
            if len(row) < 5 or len(row) > 2036:
                raise Fault(f"{where}: a chain row of {len(row)} bytes")
            value += row[4:]
            pointer = u32(row, 0)
            if not pointer:
                break
        if len(value) != length:
            raise Fault(f"{where}: {len(value)} bytes of a long value of {length}")
        return value

    def read_table(self, table):
        """All rows by row pointer, long values resolved; claims the pages of rows and long values and checks them."""
        name = table["name"]
        if "values" in table:
            return table["values"]
        table["values"] = values = {}
        owned = self.map_pages(table["owned"], f"{name} (rows)")
        room = self.map_pages(table["room"], f"{name} (room)")
        if not set(room) <= set(owned):
            self.fault(f"{name}: pages {sorted(set(room) - set(owned))[:5]} have room but are not owned")
        long_pages, used = {}, {}
        for number, (own, free) in table["longValues"].items():
            label = f"{name}.{table['byNumber'].get(number, {}).get('name', number)}"
            pages = self.map_pages(own, f"{label} (long values)")
            if free:
                free_pages = self.map_pages(free, f"{label} (long value room)")
                if not set(free_pages) <= set(pages):
                    self.fault(f"{label}: pages {sorted(set(free_pages) - set(pages))[:5]} have room but are not owned")
            long_pages[number], used[number] = set(pages), set()
            for page in pages:
                if self.claim(page, f"{label} (long values)") and self.page(page)[4:8] != b"LVAL":
                    self.fault(f"page {page} of {label}: no page of long values")
        raw_rows, moved_here, moved_to = {}, {}, {}
        for number in owned:
            if not self.claim(number, f"{name} (rows)"):
                continue
            try:
                slots = self.slots(number)
            except Fault as fault:
                self.fault(f"{name}: {fault}")
                continue
            if u32(self.page(number), 4) != table["page"]:
                self.fault(f"page {number} of {name}: its owner is {u32(self.page(number), 4)}")
            for n, slot in enumerate(slots):
                if slot is None:
                    continue
                flags, row = slot
                if flags == 0x4000:
                    if len(row) != 4:
                        self.fault(f"page {number} row {n}: a moved row's place of {len(row)} bytes")
                    else:
                        moved_to[number << 8 | n] = u32(row, 0)
                elif flags == 0x8000:
                    moved_here[number << 8 | n] = row
                else:
                    raw_rows[number << 8 | n] = row
        for place, target in moved_to.items():
            if target not in moved_here:
                self.fault(f"{name}: row {place >> 8}/{place & 255} moved to {target >> 8}/{target & 255}, where none is")
            else:
                raw_rows[place] = moved_here.pop(target)
        for target in moved_here:
            self.fault(f"{name}: moved row {target >> 8}/{target & 255} is reached by nobody")
        for pointer in sorted(raw_rows):
            where = f"{name} row {pointer >> 8}/{pointer & 255}"
            try:
                row = self.decode_row(table, raw_rows[pointer], where)
                for number in table["longValues"]:
                    if row.get(number) is not None:
                        row[number] = self.long_value(row[number], long_pages[number], used[number], where)
                values[pointer] = row
            except Fault as fault:
                self.fault(str(fault))
        for number, pages in long_pages.items():
            for page in pages:
                for n, slot in enumerate(self.slots(page)):
                    if slot is not None and page << 8 | n not in used[number]:
                        self.fault(f"{name}: long value row {page}/{n} is used by nobody")
        if table["rows"] != len(values):
            self.note(f"{name}: the definition counts {table['rows']} rows, there are {len(values)}")
        for column in table["columns"]:
            if column["flags"] & 4 and column["type"] == LONG:
                given = [struct.unpack("<i", row[column["number"]])[0] for row in values.values() if row[column["number"]]]
                if given and max(given) > struct.unpack("<i", struct.pack("<I", table["auto"]))[0]:
                    self.fault(f"{name}: AutoNumber {max(given)} was given, the last one is said to be {table['auto']}")
        self.row_count += len(values)
        return values


def as_value(column, stored, raw_long=False):
    """A Python value; dates as ISO text, money as text, binary as hexadecimal text unless `raw_long`."""
    kind = column["type"]
    if stored is None or kind == BOOLEAN:
        return stored
    if kind in (BYTE, INTEGER, LONG, SINGLE, DOUBLE):
        return struct.unpack({BYTE: "<B", INTEGER: "<h", LONG: "<i", SINGLE: "<f", DOUBLE: "<d"}[kind], stored)[0]
    if kind == MONEY:
        units = struct.unpack("<q", stored)[0]
        whole, part = divmod(abs(units), 10000)
        return ("-" if units < 0 else "") + str(whole) + (f".{part:04d}".rstrip("0") if part else "")
    if kind == DATE:
        return iso_date(struct.unpack("<d", stored)[0])
    if kind in (TEXT, MEMO):
        return text_of(stored)
    if kind == GUID:
        a, b, c = struct.unpack_from("<IHH", stored)
        return f"{{{a:08X}-{b:04X}-{c:04X}-{stored[8:10].hex().upper()}-{stored[10:].hex().upper()}}}"
    return bytes(stored) if raw_long else stored.hex().upper()


def iso_date(serial):
    if not math.isfinite(serial):
        return repr(serial)
    days = math.trunc(serial)
    seconds = round(abs(serial - days) * 86400)
    try:
        moment = datetime.datetime(1899, 12, 30) + datetime.timedelta(days=days, seconds=seconds)
    except OverflowError:
        return repr(serial)
    return moment.strftime("%Y-%m-%dT%H:%M:%S") if seconds % 86400 else moment.strftime("%Y-%m-%d")
