' The road of a document. Arguments: the folder of the layouts layout1.mdb and layout2.mdb.
Option Explicit
Dim lib, engine, folder, document, working, status, version, layoutVersion, code, db, table, names, records, done
folder = WScript.Arguments(0)
document = folder & "\kas.ord"
Set lib = CreateObject("VMLib.VmdDbLibRoutines")
Set engine = CreateObject("VMDEngine.DBEngine")
lib.DBL_InitPassWord

code = 0
done = lib.DBL_MaakNieuweDatabase(document, "ORDERS", folder & "\layout1.mdb", code)
WScript.Echo "made " & done & " " & code & " " & TypeName(code)
Set db = lib.DBL_OpenMdb(document, False, False, False)
WScript.Echo TypeName(db.TableDefs) & " " & db.TableDefs("Klanten").Fields.Count
db.Execute "INSERT INTO Info (Versie, BestandType) VALUES ('1', 'ORDERS')", 128
db.Execute "INSERT INTO Klanten (KlantNr, Naam, Plaats) VALUES (1, 'Bakkerij De Ster', 'Zwolle')", 128
db.Close

working = "" : status = 0 : version = 0 : layoutVersion = 0
done = lib.DBL_OpenDatabase(document, working, "ORDERS", folder & "\layout1.mdb", status, version, layoutVersion, code)
WScript.Echo "opened " & done & " " & code & " " & status & " " & version & " " & layoutVersion & " " & (working <> "")
Set db = lib.DBL_OpenMdb(working, False, False, False)
For Each table In db.TableDefs
    If Left(table.Name, 4) <> "MSys" Then names = names & table.Name & " "
Next
WScript.Echo names
Set records = db.OpenRecordset("Klanten", 2)
records.AddNew
records.Fields("Naam").Value = "Caf" & Chr(233)
records.Update
records.FindFirst "KlantNr = 1"
records.Edit
records("Plaats") = "Kampen"
records.Update
records.Close
db.Close
WScript.Echo "saved " & lib.DBL_OpslaanDatabase(working, document, folder & "\layout1.mdb", "ORDERS", code) & " " & code
WScript.Echo "released " & lib.DBL_BestandVrijgeven(document, code) & " " & code

' Opened under the next version of the layout it is converted, with the host's converter.
lib.DBL_AutoConvertPakket "VMLibTest.Converter"
working = ""
done = lib.DBL_OpenDatabase(document, working, "ORDERS", folder & "\layout2.mdb", status, version, layoutVersion, code)
WScript.Echo "converted " & done & " " & code & " " & status & " " & version & " " & layoutVersion
Set db = lib.DBL_OpenMdb(working, False, False, False)
Set records = db.OpenRecordset("SELECT KlantNr, Bedrijfsnaam, Plaats FROM Klanten ORDER BY KlantNr", 4)
Do Until records.EOF
    WScript.Echo records(0) & " " & records("Bedrijfsnaam") & " " & records("Plaats")
    records.MoveNext
Loop
records.Close
db.Close
WScript.Echo "saved " & lib.DBL_OpslaanDatabase(working, document, folder & "\layout2.mdb", "ORDERS", code) & " " & code
WScript.Echo "released " & lib.DBL_BestandVrijgeven(document, code) & " " & code
