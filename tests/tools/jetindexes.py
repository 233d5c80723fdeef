"""Index trees of a file: structure, and every entry against the rows."""
import struct

from jetfile import JetFile
from jetkeys import Fault, column_key, cut_long, u16, u32

INDEX_START = 0xF8
INDEX_ROOM = 1800


class IndexedFile(JetFile):
    def index_page(self, number, table, who):
        page = self.page(number)
        if page[0] not in (3, 4) or page[1] != 1:
            raise Fault(f"{who}: page {number} is of kind {page[0]:02x}")
        if u32(page, 4) != table["page"]:
            self.fault(f"{who}: page {number} has owner {u32(page, 4)}")
        ends = [n for n in range(226 * 8) if page[22 + n // 8] >> n % 8 & 1]
        if ends and ends[-1] > INDEX_ROOM:
            raise Fault(f"{who}: page {number} has an entry end at {ends[-1]}")
        used = ends[-1] if ends else 0
        if u16(page, 2) != INDEX_ROOM - used:
            self.fault(f"{who}: page {number} says {u16(page, 2)} free bytes, really {INDEX_ROOM - used}")
        prefix_size, entries, start = page[20], [], 0
        for n, end in enumerate(ends):
            raw = page[INDEX_START + start:INDEX_START + end]
            if n == 0:
                if prefix_size > len(raw):
                    raise Fault(f"{who}: page {number} has a prefix of {prefix_size} bytes")
                prefix = raw[:prefix_size]
            else:
                raw = prefix + raw
            entries.append(raw)
            start = end
        least = 5 if page[0] == 4 else 9
        if any(len(entry) < least for entry in entries):
            raise Fault(f"{who}: page {number} has an entry of less than {least} bytes")
        if prefix_size and not entries:
            self.note(f"{who}: page {number} has a prefix but no entries")
        return {"leaf": page[0] == 4, "level": page[21], "previous": u32(page, 8), "next": u32(page, 12),
                "tail": u32(page, 16), "entries": entries}

    def walk_tree(self, table, tree, who):
        """All leaf entries in order, the structure checked on the way."""
        pages, entries, last_of_level = [], [], {}

        def visit(number, level, low, high):
            if number in pages:
                raise Fault(f"{who}: page {number} is reached twice")
            pages.append(number)
            node = self.index_page(number, table, who)
            if level is not None and node["level"] != level:
                raise Fault(f"{who}: page {number} has level {node['level']}, expected {level}")
            if node["leaf"] != (node["level"] == 0):
                raise Fault(f"{who}: page {number} of level {node['level']} has the wrong kind")
            before = last_of_level.get(node["level"], (0, 0))
            if node["previous"] != before[0] or before[0] and before[1] != number:
                self.fault(f"{who}: page {number} is linked to {node['previous']} before it, "
                           f"which is {before[0]} linked to {before[1]}")
            last_of_level[node["level"]] = (number, node["next"])
            keys = node["entries"] if node["leaf"] else [entry[:-4] for entry in node["entries"]]
            for left, right in zip([low] + keys, keys + [high]):
                if left is not None and right is not None and not (left <= right):
                    self.fault(f"{who}: page {number} is out of order at {right.hex()}")
            if any(a == b for a, b in zip(keys, keys[1:])):
                self.fault(f"{who}: page {number} has an entry twice")
            if low is not None and keys and keys[0] <= low:
                self.fault(f"{who}: page {number} starts with {keys[0].hex()}, not behind the separator {low.hex()}")
            if node["leaf"]:
                if node["tail"]:
                    self.note(f"{who}: leaf {number} has a tail child {node['tail']}")
                entries.extend(keys)
                return
            if not node["tail"]:
                raise Fault(f"{who}: branch {number} has no tail child")
            bound = low
            for entry, key in zip(node["entries"], keys):
                visit(int.from_bytes(entry[-4:], "big"), node["level"] - 1, bound, key)
                bound = key
            visit(node["tail"], node["level"] - 1, bound, high)

        visit(tree["root"], None, None, None)
        for level, (number, after) in last_of_level.items():
            if after:
                self.fault(f"{who}: page {number}, the last of level {level}, is linked to {after}")
        owned = self.map_pages(tree["map"], who)
        if sorted(pages) != owned:
            self.fault(f"{who}: the tree has pages {sorted(set(pages) - set(owned))[:5]} that its map lacks, "
                       f"the map {sorted(set(owned) - set(pages))[:5]} that the tree lacks")
        for page in pages:
            self.claim(page, who)
        return entries

    def row_key(self, table, tree, row):
        """The key; None when the row has no entry."""
        if tree["flags"] & 2 and all(row[n] is None for n, _ in tree["columns"]):
            return None
        return cut_long(b"".join(column_key(table["byNumber"][n], row[n], desc) for n, desc in tree["columns"]))

    def check_indexes(self, table, rows):
        for n, tree in enumerate(table["trees"]):
            names = "/".join(index["name"] for index in table["indexes"] if index["real"] == n)
            who = f"{table['name']}.{names}"
            try:
                entries = self.walk_tree(table, tree, who)
                tree["entries"] = entries
                expected = set()
                for pointer, row in rows.items():
                    key = self.row_key(table, tree, row)
                    if key is not None:
                        expected.add(key + struct.pack(">I", pointer))
            except Fault as fault:
                self.fault(str(fault))
                continue
            self.entry_count += len(entries)
            for entry in sorted(expected - set(entries))[:5]:
                self.fault(f"{who}: entry {entry.hex()} is missing")
            for entry in sorted(set(entries) - expected)[:5]:
                self.fault(f"{who}: entry {entry.hex()} follows from no row")
            keys = [entry[:-4] for entry in entries]
            for pointer, row in rows.items():
                if tree["flags"] & 8 and any(row[c] is None for c, _ in tree["columns"]):
                    self.fault(f"{who}: row {pointer >> 8}/{pointer & 255} has a Null in a required key")
            tree["keys"] = set(keys)
            if tree["flags"] & 1:
                for a, b in zip(entries, entries[1:]):
                    if a[:-4] == b[:-4] and not self.any_null(tree, rows.get(int.from_bytes(a[-4:], "big"))):
                        self.fault(f"{who}: key {a[:-4].hex()} comes twice in a unique index")

    @staticmethod
    def any_null(tree, row):
        return row is not None and any(row[n] is None for n, _ in tree["columns"])
