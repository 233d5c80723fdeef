' Does a genuine DAO work with what the embedded engine writes? Makes a database, then opens, seeks, changes and compacts
' it with DAO 3.5 or 3.6, and reads the result with the embedded engine again. On 64-bit Windows use the 32-bit host:
'
'     %windir%\SysWOW64\cscript //nologo dao_check.vbs C:\Temp\check.mdb [class of the other engine]
Option Explicit
Const rowCount = 500
Dim path, ours, other, db, rows, i, found

If WScript.Arguments.Count = 0 Then WScript.Echo "usage: cscript //nologo dao_check.vbs FILE [CLASS]" : WScript.Quit 2
path = WScript.Arguments(0)
Set ours = CreateObject("VMDEngine.DBEngine")
If WScript.Arguments.Count > 1 Then Set other = CreateObject(WScript.Arguments(1)) Else Set other = GenuineEngine()

Set db = ours.CreateDatabase(path, ";LANGID=0x0409;CP=1252;COUNTRY=0", 32)
db.Execute "CREATE TABLE Klanten (KlantNr LONG CONSTRAINT PrimaryKey PRIMARY KEY, Naam TEXT(60), Sinds DATETIME, Notitie MEMO)"
db.Execute "CREATE TABLE Orders (OrderNr LONG CONSTRAINT PrimaryKey PRIMARY KEY, KlantNr LONG CONSTRAINT KlantOrders REFERENCES Klanten (KlantNr), Bedrag CURRENCY)"
db.Execute "CREATE INDEX OpNaam ON Klanten (Naam)"
Set rows = db.OpenRecordset("Klanten", 1)
For i = 1 To rowCount
    rows.AddNew
    rows("KlantNr") = i
    rows("Naam") = NameOf(i)
    rows("Sinds") = DateSerial(2000, 1, i)
    rows("Notitie") = String(i * 20, "n")
    rows.Update
Next
rows.Close
db.Execute "INSERT INTO Orders SELECT KlantNr + 1000 AS OrderNr, KlantNr, KlantNr * 1.5 AS Bedrag FROM Klanten"
db.Close
WScript.Echo "made by VMDEngine.DBEngine " & ours.Version & ": " & rowCount & " rows"

Set db = other.OpenDatabase(path, True)
WScript.Echo "opened by the other engine, version " & other.Version
Set rows = db.OpenRecordset("Klanten", 1)
For i = 1 To rowCount
    rows.Index = "PrimaryKey"
    rows.Seek "=", i
    Expect Not rows.NoMatch, "key " & i & " is found"
    Expect rows("Naam") = NameOf(i) And rows("Sinds") = DateSerial(2000, 1, i) And Len(rows("Notitie")) = i * 20, "row " & i
    rows.Index = "OpNaam"
    rows.Seek "=", NameOf(i)
    Expect Not rows.NoMatch, "name " & i & " is found"
Next
rows.Close
WScript.Echo "sought by both indexes: " & 2 * rowCount & " hits"

db.Execute "UPDATE Klanten SET Naam = 'veranderd ' & KlantNr, Notitie = 'kort' WHERE KlantNr <= 100", 128
db.Execute "DELETE FROM Orders WHERE KlantNr > 400", 128
db.Execute "INSERT INTO Klanten (KlantNr, Naam) VALUES (9999, 'nieuw')", 128
On Error Resume Next
db.Execute "INSERT INTO Orders (OrderNr, KlantNr) VALUES (1, 12345)", 128
found = Err.Number
On Error GoTo 0
Expect found = 3201, "the relation refuses an order without customer, error " & found
db.Close
CheckChanges other, path, "changed"
If CreateObject("Scripting.FileSystemObject").FileExists(path & ".new") Then CreateObject("Scripting.FileSystemObject").DeleteFile path & ".new"
other.CompactDatabase path, path & ".new"
CheckChanges other, path & ".new", "compacted"
CheckChanges ours, path, "the changed file, read by VMDEngine.DBEngine"
CheckChanges ours, path & ".new", "the compacted file, read by VMDEngine.DBEngine"
WScript.Echo "all of it works"

Sub CheckChanges(engine, file, what)
    Dim sum
    Set db = engine.OpenDatabase(file, True)
    Set sum = db.OpenRecordset("SELECT Count(*), Sum(Bedrag) FROM Klanten INNER JOIN Orders ON Klanten.KlantNr = Orders.KlantNr", 4)
    Expect sum(0) = 400 And sum(1) = 120300, what & ": orders"  ' 1.5 * (1 + ... + 400)
    sum.Close
    Set sum = db.OpenRecordset("SELECT Count(*) FROM Klanten WHERE Naam LIKE 'veranderd*' OR Naam = 'nieuw'", 4)
    Expect sum(0) = 101, what & ": customers"
    sum.Close
    db.Close
    WScript.Echo what & ": as expected"
End Sub

Function NameOf(number)
    NameOf = Chr(65 + number Mod 26) & Chr(233) & "n " & Right("00" & number, 3)
End Function

Function GenuineEngine()
    On Error Resume Next
    Set GenuineEngine = CreateObject("DAO.DBEngine.35")
    If Err.Number <> 0 Then Err.Clear : Set GenuineEngine = CreateObject("DAO.DBEngine.36")
    If Err.Number <> 0 Then WScript.Echo "neither DAO.DBEngine.35 nor DAO.DBEngine.36 can be created here" : WScript.Quit 3
End Function

Sub Expect(isTrue, what)
    If Not isTrue Then WScript.Echo "FAILED: " & what : WScript.Quit 1
End Sub
