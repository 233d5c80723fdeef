' Numbers of old record files, dates and numbers, by variables and by values.
Option Explicit
Dim mbf, lib, word, text, number, i, line
Set mbf = CreateObject("VMLib.MBF")
Set lib = CreateObject("VMLib.AlgemeneLibrary")

Function Hex2(s)
    Dim k, out
    For k = 1 To Len(s)
        out = out & Right("0" & Hex(Asc(Mid(s, k, 1))), 2)
    Next
    Hex2 = out
End Function

word = 258
WScript.Echo "MKI " & Hex2(mbf.MKI(word)) & " " & TypeName(word)
WScript.Echo "CVI " & mbf.CVI(mbf.MKI(-2)) & " " & TypeName(mbf.CVI("ab"))
number = 70000
WScript.Echo "MKL " & Hex2(mbf.MKL(number)) & " " & mbf.CVL(mbf.MKL(70000))
WScript.Echo "MKS " & Hex2(mbf.MKS(0.5)) & " " & mbf.CVS(mbf.MKS(0.5)) & " " & TypeName(mbf.CVS(mbf.MKS(0.5)))
WScript.Echo "MKD " & Hex2(mbf.MKD(0.5)) & " " & mbf.CVD(mbf.MKD(-1.25))
WScript.Echo "MBF " & Hex2(mbf.MKSMBF(1)) & " " & mbf.CVSMBF(mbf.MKSMBF(10)) & " " & Hex2(mbf.MKDMBF(1)) & " " & mbf.CVDMBF(mbf.MKDMBF(10))

WScript.Echo "schrikkel " & lib.VmdLib_SchrikkelJaar(2000) & lib.VmdLib_SchrikkelJaar(1900) & lib.VmdLib_SchrikkelJaar(2024)
WScript.Echo "datum " & lib.VmdLib_DatumNaarString(DateSerial(2024, 2, 29), "-")
WScript.Echo "week " & lib.VmdLib_WeekNummer(DateSerial(2024, 1, 1)) & " " & lib.VmdLib_WeekNummer(DateSerial(2021, 1, 2))
WScript.Echo "bestand " & lib.VmdLib_ExtractFileNaam("C:\map\kas.ord", False) & " " & lib.VmdLib_ExtractPad("C:\map\kas.ord")
WScript.Echo "tekst " & TypeName(lib.VmdLib_LoadResString(1)) & " " & (lib.VmdLib_TempPath <> "")

On Error Resume Next
mbf.Bestaat
WScript.Echo "onbekend " & Err.Number
Err.Clear
mbf.MKI 1, 2
WScript.Echo "te veel " & Err.Number
Err.Clear
mbf.MKI
WScript.Echo "te weinig " & Err.Number
Err.Clear
mbf.MKI "woord"
WScript.Echo "type " & Err.Number
Err.Clear
mbf.MKI 70000
WScript.Echo "overloop " & Err.Number
