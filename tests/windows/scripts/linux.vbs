' A document that was made on another platform: opened under the next version of its layout, changed and saved.
Option Explicit
Dim lib, folder, document, working, status, version, layoutVersion, code, db, done
folder = WScript.Arguments(0)
document = folder & "\linux.ord"
Set lib = CreateObject("VMLib.VmdDbLibRoutines")
lib.DBL_InitPassWord
lib.DBL_AutoConvertPakket "VMLibTest.Converter"
working = "" : status = 0 : version = 0 : layoutVersion = 0 : code = 0
done = lib.DBL_OpenDatabase(document, working, "ORDERS", folder & "\layout2.mdb", status, version, layoutVersion, code)
WScript.Echo "converted " & done & " " & code & " " & status & " " & version & " " & layoutVersion
Set db = lib.DBL_OpenMdb(working, False, False, False)
db.Execute "UPDATE Klanten SET Plaats = 'Kampen' WHERE KlantNr = 1", 128
WScript.Echo "changed " & db.RecordsAffected
db.Close
WScript.Echo "saved " & lib.DBL_OpslaanDatabase(working, document, folder & "\layout2.mdb", "ORDERS", code) & " " & code
WScript.Echo "released " & lib.DBL_BestandVrijgeven(document, code) & " " & code
