' Settings in the user's part of the registry.
Option Explicit
Dim reg, keys, key, value, list
Set reg = CreateObject("VMLib.Registry")
reg.RegSetDbl 1, "Proef", "Opties", "Marge", 2.5
reg.RegSetStr 1, "Proef", "Opties", "Naam", "De Ster"
reg.RegSetLng 1, "Proef", "Opties", "Aantal", 70000
reg.RegSetBool 1, "Proef", "Opties\Diep", "Aan", True
WScript.Echo reg.RegGetDbl(1, "Proef", "Opties", "Marge", 0) & " " & reg.RegGetStr(1, "Proef", "Opties", "Naam", "") & " " & _
    reg.RegGetLng(1, "Proef", "Opties", "Aantal", 0) & " " & reg.RegGetBool(1, "Proef", "Opties\Diep", "Aan", False)
WScript.Echo reg.RegGetStr(1, "Proef", "Opties", "Weg", "standaard")
Set keys = reg.RegSubkeys(True, "Proef")
WScript.Echo TypeName(keys) & " " & keys.Count
For Each key In keys
    WScript.Echo "sleutel " & key
Next
reg.RegDelReg 1, "Proef", "Opties", "Naam"
WScript.Echo "[" & reg.RegGetStr(1, "Proef", "Opties", "Naam", "") & "]"
