// Everything from JScript comes by value, and objects and collections work there as well.
var mbf = new ActiveXObject("VMLib.MBF");
WScript.Echo("CVI " + mbf.CVI(mbf.MKI(258)) + " " + typeof mbf.CVI("ab"));
var routines = new ActiveXObject("VMLib.VmdDbLibRoutines");
WScript.Echo("fout " + routines.DBL_GetDatabaseError(3));
var engine = new ActiveXObject("VMDEngine.DBEngine");
for (var all = new Enumerator(engine.Workspaces); !all.atEnd(); all.moveNext()) WScript.Echo("werkruimte " + all.item().Name);
WScript.Echo("versie " + engine.Version + " " + engine.Workspaces(0).Name);
try {
    engine.OpenDatabase("C:\\nergens\\geen.mdb");
} catch (error) {
    WScript.Echo("nummer " + (error.number & 0xFFFF) + " " + (error.description.indexOf("nergens") > 0));
}
