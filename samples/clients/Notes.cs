// Puts notes of Vellumd on the screen, changes them, takes them away, and learns what the user did with them. One file,
// C# 5, so that the compiler of every Windows takes it (also .NET 5 and later):
//   %WINDIR%\Microsoft.NET\Framework64\v4.0.30319\csc.exe /r:System.Runtime.Serialization.dll Notes.cs
using System;
using System.Collections.Generic;
using System.Globalization;
using System.IO;
using System.Runtime.Serialization;
using System.Runtime.Serialization.Json;
using System.Threading;

// The keys of docs/note-format.md. What is null is not written.
[DataContract]
public class Note {
    [DataMember(EmitDefaultValue = false)]
    public string id, title, content, contentRtf, author, created, modified, logo;
    [DataMember(EmitDefaultValue = false)]
    public string bgColor, titleBarBGColor, noteTitleColor, noteBodyColor;
    [DataMember(EmitDefaultValue = false)] public Place position;
    [DataMember(EmitDefaultValue = false)] public Screen monitor;
    [DataMember(EmitDefaultValue = false)] public bool editable, allowNewNote;
}

[DataContract]
public class Place {
    [DataMember(EmitDefaultValue = false)] public double? x, y, width, height;
}

[DataContract]
public class Screen {
    [DataMember(EmitDefaultValue = false)] public string device;
    [DataMember(EmitDefaultValue = false)] public Bounds bounds;
}

[DataContract]
public class Bounds {
    [DataMember(EmitDefaultValue = false)] public double? left, top, right, bottom;
}

public class Notes {
    readonly string folder;

    public Notes(string folder = null) {
        this.folder = folder ?? Path.Combine(
            Environment.GetFolderPath(Environment.SpecialFolder.LocalApplicationData), "Quorvane", "Ombrel", "Notes");
    }

    // Writes a new note. A new id for each message is best: Vellumd can miss a note whose id the user has closed a
    // moment ago.
    public void Post(Note note) {
        Directory.CreateDirectory(folder);
        note.created = note.modified = Now();
        Write(note);
    }

    // Changes a note: it keeps its place and what `change` does not touch. False if the user has closed it.
    public bool Update(string id, Action<Note> change) {
        WaitForOwnSave(id);
        Note note = Get(id);
        if (note == null) return false;
        string old = note.content;
        change(note);
        if (note.content != old) note.contentRtf = null;  // the old text with its formats would hide the new one
        note.modified = Now();
        Write(note);
        return true;
    }

    // Takes a note away.
    public void Remove(string id) {
        WaitForOwnSave(id);
        TryAgain(() => File.Delete(PathOf(id)));
    }

    // The note with what the user has typed, or null if he has closed it.
    public Note Get(string id) {
        byte[] bytes = Read(id);
        if (bytes == null) return null;
        return (Note)new DataContractJsonSerializer(typeof(Note)).ReadObject(new MemoryStream(bytes));
    }

    // The notes of the folder. Files that are not notes are left out.
    public IEnumerable<Note> List() {
        foreach (string path in Directory.GetFiles(folder, "*.json")) {
            Note note = null;
            try { note = Get(Path.GetFileNameWithoutExtension(path)); } catch (SerializationException) {}
            if (note != null) yield return note;
        }
    }

    // Waits until the user changes the text (returns the note) or closes the note (returns null). Opens the file only
    // when it has changed: Vellumd cannot save a note that another program has open.
    public Note Wait(string id) {
        DateTime seen = File.GetLastWriteTimeUtc(PathOf(id));
        Note before = Get(id), now = before;
        while (now != null && now.content == before.content && now.title == before.title) {
            Thread.Sleep(200);
            DateTime written = File.GetLastWriteTimeUtc(PathOf(id));  // a long past time when the file is gone
            if (written != seen) now = Get(id);
            seen = written;
        }
        return now;
    }

    string PathOf(string id) { return Path.Combine(folder, id + ".json"); }

    static string Now() {
        return DateTime.UtcNow.ToString("yyyy-MM-dd'T'HH:mm:ss'Z'", CultureInfo.InvariantCulture);
    }

    byte[] Read(string id) {
        byte[] bytes = null;
        TryAgain(() => bytes = File.Exists(PathOf(id)) ? File.ReadAllBytes(PathOf(id)) : null);
        return bytes;
    }

    // Replaces the whole file: nobody reads half a note. The line end at the end marks it as ours.
    void Write(Note note) {
        string path = PathOf(note.id), part = Path.Combine(folder, note.id + ".part");
        using (var stream = File.Create(part)) {
            new DataContractJsonSerializer(typeof(Note)).WriteObject(stream, note);
            stream.WriteByte((byte)'\n');
        }
        TryAgain(() => {
            if (File.Exists(path)) File.Replace(part, path, null);
            else File.Move(part, path);
        });
    }

    // For three seconds after Vellumd has saved a note it takes no notice of the file. The files that it writes do not
    // end with a line end. File times can lag a little.
    void WaitForOwnSave(string id) {
        for (int saves = 1; ; saves++) {
            double age = (DateTime.UtcNow - File.GetLastWriteTimeUtc(PathOf(id))).TotalSeconds;
            if (age > 3.2) return;  // so is that of a file that is gone
            byte[] bytes = Read(id);
            if (bytes == null || bytes.Length == 0 || bytes[bytes.Length - 1] == '\n') return;
            if (saves == 10) throw new TimeoutException("the user is still typing in note " + id);
            Thread.Sleep(TimeSpan.FromSeconds(3.2 - Math.Max(age, 0)));
        }
    }

    // Windows refuses while another program has the file open; Vellumd and virus scanners have it for moments.
    static void TryAgain(Action action) {
        for (int tries = 1; ; tries++) {
            try {
                action();
                return;
            } catch (Exception error) {
                bool isInUse = error is IOException || error is UnauthorizedAccessException;
                if (!isInUse || tries == 100) throw;
            }
            Thread.Sleep(20);
        }
    }
}

// Notes.exe FOLDER post ID TITLE TEXT | update ID TEXT | remove ID | get ID | list | wait ID
public static class Program {
    public static int Main(string[] arguments) {
        var notes = new Notes(arguments[0]);
        string command = arguments[1], id = arguments.Length > 2 ? arguments[2] : null;
        if (command == "post") {
            notes.Post(new Note { id = id, title = arguments[3], content = arguments[4], editable = true });
        } else if (command == "update") {
            return notes.Update(id, note => note.content = arguments[3]) ? 0 : 1;
        } else if (command == "remove") {
            notes.Remove(id);
        } else if (command == "list") {
            foreach (Note note in notes.List()) Console.WriteLine(note.id + "\t" + note.title);
        } else {
            Note note = command == "wait" ? notes.Wait(id) : notes.Get(id);
            if (note == null) return 4;  // closed by the user
            Console.WriteLine(note.content);
        }
        return 0;
    }
}
