#!/usr/bin/env bash
# The road of a document: a layout is imported, a document of version 1 made and filled, refused to a second user, opened under version 2 of the
# layout (converted, with a converter of the host's), changed, saved and released. Every file is checked on the way.
#
#     examples/road.sh FOLDER    the folder with the programs vmlib and orders_host
set -euo pipefail

programs=$(cd "${1:?folder with vmlib and orders_host}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'echo "FAILED in line $LINENO" >&2' ERR
mkdir "$work/tmp"
export TMPDIR=$work/tmp VMLIB_DESKTOP=none
cd "$work"

vmlib() { "$programs/vmlib" "$@"; }
step() { printf '\n== %s\n' "$1"; }
check() { for file in "$@"; do printf '%-14s ' "$(basename "$file")"; vmlib check "$file"; done; }

step "A layout of version 1, imported from text"
vmlib layout import Layout.ord < "$here/orders-v1.json"
check Layout.ord

step "A document of version 1, made and filled"
vmlib create Bakker.ord --type ORDERS --layout Layout.ord
while IFS= read -r statement; do vmlib query Bakker.ord "$statement" >/dev/null; done < "$here/orders.sql"
printf 'P1\n8 4\n0 1 1 1 1 1 1 0\n1 1 0 1 1 0 1 1\n1 1 1 1 1 1 1 1\n0 1 1 1 1 1 1 0\n' > brood.pbm
"$programs/orders_host" picture Bakker.ord BL-001 brood.pbm
vmlib query Bakker.ord "SELECT KlantNr, Naam, Plaats FROM Klanten ORDER BY KlantNr"
check Bakker.ord

step "Piet opens it; Anna is refused"
piet=$(VMLIB_USER=piet vmlib open Bakker.ord --type ORDERS --layout Layout.ord)
vmlib status Bakker.ord
refused=0
VMLIB_USER=anna vmlib open Bakker.ord --type ORDERS --layout Layout.ord || refused=$?
[ "$refused" = 24 ] || { echo "exit code $refused instead of 24"; exit 1; }
check "$piet"
VMLIB_USER=piet vmlib release Bakker.ord
rm "$piet"

step "The layout moves to version 2: Naam becomes Bedrijfsnaam, Betalingen is new, Fax goes"
vmlib layout import Layout.ord < "$here/orders-v2.json"
check Layout.ord

step "Anna opens it with a host that has a converter"
working=$(VMLIB_USER=anna "$programs/orders_host" open Bakker.ord Layout.ord)
vmlib query "$working" "SELECT KlantNr, Bedrijfsnaam, Plaats FROM Klanten ORDER BY KlantNr"
check "$working"

step "She changes it, saves and releases"
vmlib query "$working" "INSERT INTO Betalingen (OrderNr, Datum, Bedrag) VALUES (2402, #3/20/2024#, 12.80)"
vmlib query "$working" "UPDATE Orders SET Betaald = True WHERE OrderNr = 2402"
VMLIB_USER=anna vmlib save "$working" Bakker.ord --type ORDERS --layout Layout.ord
VMLIB_USER=anna vmlib release Bakker.ord
rm "$working"

step "What the document holds now"
vmlib query Bakker.ord "SELECT Klanten.Bedrijfsnaam, Orders.OrderNr, Sum(Orderregels.Aantal * Orderregels.Prijs) AS Bedrag FROM (Klanten INNER JOIN Orders ON Klanten.KlantNr = Orders.KlantNr) INNER JOIN Orderregels ON Orders.OrderNr = Orderregels.OrderNr GROUP BY Klanten.Bedrijfsnaam, Orders.OrderNr ORDER BY Orders.OrderNr"
vmlib query Bakker.ord "SELECT ArtikelNr, Omschrijving, IIf(IsNull(Foto), 'geen', 'aanwezig') AS Plaatje FROM Artikelen ORDER BY ArtikelNr"
vmlib status Bakker.ord
check Bakker.ord Layout.ord
[ -z "$(ls -A "$TMPDIR")" ] || { echo "left in the temporary folder: $(ls -A "$TMPDIR")"; exit 1; }

printf '\nThe document arrived: converted, changed, saved, released and sound.\n'
